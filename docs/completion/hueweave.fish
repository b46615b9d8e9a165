# SPDX-License-Identifier: MIT
# Completion of the command hueweave for fish; installed as fish/vendor_completions.d/hueweave.fish.

set -l commands convert watch status inspect bake verify check report spaces
set -l first "not __fish_seen_subcommand_from $commands help"
set -l conversion '__fish_seen_subcommand_from convert watch'
set -l rendering '__fish_seen_subcommand_from convert watch verify check report'
set -l reading '__fish_seen_subcommand_from convert watch status inspect bake verify check report'

complete -c hueweave -n $first -f -a convert -d 'convert TIFF, PNG and JPEG files to a colour space'
complete -c hueweave -n $first -f -a watch -d 'convert the pictures that arrive in a folder'
complete -c hueweave -n $first -f -a status -d 'show the progress of conversions into a folder'
complete -c hueweave -n $first -f -a inspect -d 'describe a profile or a picture'
complete -c hueweave -n $first -f -a bake -d 'make a profile that the engine supports for every intent'
complete -c hueweave -n $first -f -a verify -d 'compare conversions with Little CMS in floating point'
complete -c hueweave -n $first -f -a check -d 'compare the converted colours of a chart with their reference'
complete -c hueweave -n $first -f -a report -d 'write a page that shows what a profile does to colours and pictures'
complete -c hueweave -n $first -f -a spaces -d 'list the output colour spaces'
complete -c hueweave -n $first -f -a help -d 'print the options of a command'
complete -c hueweave -n $first -s V -l version -d 'print the version and exit'
complete -c hueweave -n '__fish_seen_subcommand_from help' -f -a "$commands help"
complete -c hueweave -n '__fish_seen_subcommand_from spaces' -f

complete -c hueweave -n 'not __fish_seen_subcommand_from help' -s h -l help -d 'print the options and exit'
complete -c hueweave -n '__fish_seen_subcommand_from convert watch bake report' -s q -l quiet -d 'say nothing but refusals'
complete -c hueweave -n $reading -l no-sandbox -d 'read the files without being confined'
complete -c hueweave -n '__fish_seen_subcommand_from convert watch status inspect bake verify check spaces' -l json \
    -d 'write one line of JSON for each result'

complete -c hueweave -n $rendering -l to -x -d 'colour space or profile of the output' \
    -a 'srgb srgb-linear display-p3 rec2020 prophoto eci-rgb-v2 adobe-rgb adobe-rgb-g18 adobe-rgb-linear
        apple-rgb-g18 apple-rgb-linear colormatch-g18 colormatch-linear kodak-photo kodak-mix kodak-text'
complete -c hueweave -n $rendering -l intent -x -d 'rendering intent' -a 'perceptual relative saturation absolute'
complete -c hueweave -n '__fish_seen_subcommand_from convert watch verify check' -l precision -x -d 'which colours' -a 'exact library'

complete -c hueweave -n '__fish_seen_subcommand_from convert watch check' -l profile -r -d 'profile of the input'
complete -c hueweave -n '__fish_seen_subcommand_from convert watch check' -l bpc -d 'compensate the black point'
complete -c hueweave -n $conversion -l accept-error -x -d 'error of the library that is accepted'
complete -c hueweave -n $conversion -l icc-version -x -d 'version of the embedded profile' -a '4 2'
complete -c hueweave -n $conversion -s v -l verbose -d 'say how each file is converted'
complete -c hueweave -n $conversion -l lightness -x -d 'shift of L*, -100 to 100'
complete -c hueweave -n $conversion -l chroma -x -d 'shift of C*, -100 to 100'
complete -c hueweave -n $conversion -l hue -x -d 'shift of the hue, -360 to 360 degrees'
complete -c hueweave -n $conversion -l curve -r -d 'tone curves'
complete -c hueweave -n $conversion -l source -x -d 'where two profiles meet' -a 'require-match given embedded'
complete -c hueweave -n $conversion -l others -x -d 'files that are not RGB' -a 'refuse copy skip'
complete -c hueweave -n $conversion -l no-tag -d 'embed no profile'
complete -c hueweave -n $conversion -l grey-to-rgb -d 'write grey images as RGB'
complete -c hueweave -n $conversion -s j -l jobs -x -d 'threads'
complete -c hueweave -n $conversion -l max-memory -x -d 'memory for a file, as 64M'
complete -c hueweave -n '__fish_seen_subcommand_from convert watch status' -l follow -d 'follow symbolic links in folders'

complete -c hueweave -n '__fish_seen_subcommand_from convert watch bake report' -s o -l output -r -d 'file or folder to write'
complete -c hueweave -n '__fish_seen_subcommand_from convert watch bake report' -l force -d 'replace files that are there already'

complete -c hueweave -n '__fish_seen_subcommand_from convert' -l in-place -d 'replace each input by its conversion'
complete -c hueweave -n '__fish_seen_subcommand_from convert status' -l files-from -r -d 'read the names of inputs from a file'
complete -c hueweave -n '__fish_seen_subcommand_from convert status' -s 0 -d 'these names end in a zero byte'
complete -c hueweave -n '__fish_seen_subcommand_from convert status' -l format -x -d 'format of the outputs' -a 'tiff png jpeg'
complete -c hueweave -n '__fish_seen_subcommand_from convert' -l quality -x -d 'of new JPEG files, 1 to 100'
complete -c hueweave -n '__fish_seen_subcommand_from convert status' -l base -r -d 'folder that the names are relative to'
complete -c hueweave -n '__fish_seen_subcommand_from convert' -l shard -x -d 'a part of the inputs, as 1/4'
complete -c hueweave -n '__fish_seen_subcommand_from convert' -l resume -d 'skip files that an earlier run converted'
complete -c hueweave -n '__fish_seen_subcommand_from convert' -l dry-run -d 'write nothing'

complete -c hueweave -n '__fish_seen_subcommand_from status' -l list -x -d 'names to print' -a 'none failed left'

complete -c hueweave -n '__fish_seen_subcommand_from watch' -l settle -x -d 'seconds for which a file must stay the same'

complete -c hueweave -n '__fish_seen_subcommand_from report' -l chart -r -d 'chart with its reference'
complete -c hueweave -n '__fish_seen_subcommand_from report' -l max-memory -x -d 'memory for a picture, as 256M'
complete -c hueweave -n '__fish_seen_subcommand_from verify' -l image -r -d 'colours of a picture'
complete -c hueweave -n '__fish_seen_subcommand_from verify' -l bits -x -d 'bits per sample' -a '8 16'
complete -c hueweave -n '__fish_seen_subcommand_from verify' -l points -x -d 'points of the grid on each axis'
complete -c hueweave -n '__fish_seen_subcommand_from verify check' -l limit -x -d 'largest difference'

complete -c hueweave -n '__fish_seen_subcommand_from check' -l absolute -d 'compare with the colours as measured'
complete -c hueweave -n '__fish_seen_subcommand_from check' -l worst -x -d 'list this many of the worst patches'
complete -c hueweave -n '__fish_seen_subcommand_from check' -l guideline -x -d 'tolerance of a guideline' \
    -a 'fadgi-4 fadgi-3 fadgi-2 fadgi-1 metamorfoze-full metamorfoze-light'
