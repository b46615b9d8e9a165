# SPDX-License-Identifier: MIT
# Compiler options for all targets of the project.
add_library(hueweave_rules INTERFACE)

# A fused multiply-add rounds once, but the tables are defined with two roundings, so contraction would change them.
target_compile_options(hueweave_rules INTERFACE -ffp-contract=off)
if(PROJECT_IS_TOP_LEVEL)
  target_compile_options(hueweave_rules INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
  target_compile_options(hueweave_rules INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Woverloaded-virtual>)
else()
  # A parent project may relax floating-point arithmetic for all of its targets. It sees no warnings of these ones.
  target_compile_options(hueweave_rules INTERFACE -fno-fast-math)
endif()
if(HUEWEAVE_WERROR)
  target_compile_options(hueweave_rules INTERFACE -Werror)
endif()

if(HUEWEAVE_SANITIZE)
  set(sanitizers -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(hueweave_rules INTERFACE ${sanitizers})
  target_link_options(hueweave_rules INTERFACE ${sanitizers})
endif()

if(HUEWEAVE_SANITIZE_THREAD)
  target_compile_options(hueweave_rules INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(hueweave_rules INTERFACE -fsanitize=thread)
endif()

if(HUEWEAVE_COVERAGE)
  target_compile_options(hueweave_rules INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(hueweave_rules INTERFACE --coverage)
endif()
