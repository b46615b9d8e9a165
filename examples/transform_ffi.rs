// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//! transform_ffi PROFILE: the same as transform_pixels.c in Rust, without any crate:
//! `rustc -O transform_ffi.rs -l hueweave_transform`.
use std::ffi::{CStr, CString};
use std::os::raw::{c_char, c_uchar, c_void};
use std::ptr::{null, null_mut};

#[repr(C)]
struct Profile {
    data: *const c_void,
    size: usize,
    path: *const c_char,
    space: *const c_char,
}

#[repr(C)]
struct Options {
    size: usize,
    samples: i32,
    intent: i32,
    black_point: i32,
    precision: i32,
    icc_version: i32,
    reserved: i32,
    lightness: f64,
    chroma: f64,
    hue: f64,
    accept_error: f64,
    curves: *const c_uchar,
}

#[repr(C)]
struct Error {
    status: i32,
    name: [c_char; 28],
    message: [c_char; 992],
}

extern "C" {
    fn hw_transform_create(
        source: *const Profile,
        target: *const Profile,
        options: *const Options,
        transform: *mut *mut c_void,
        error: *mut Error,
    ) -> i32;
    fn hw_transform_free(transform: *mut c_void);
    fn hw_convert(transform: *const c_void, source: *const c_void, dest: *mut c_void, pixels: usize) -> i32;
    fn hw_status_message(status: i32) -> *const c_char;
}

fn text(at: *const c_char) -> String {
    unsafe { CStr::from_ptr(at) }.to_string_lossy().into_owned()
}

/// A type of samples, with its number in the interface.
trait Sample: Copy {
    const NUMBER: i32;
}
impl Sample for u8 {
    const NUMBER: i32 = 0;
}
impl Sample for f32 {
    const NUMBER: i32 = 2;
}

/// A transform of samples of one type. It does not change, so threads may share it.
struct Transform<S: Sample> {
    handle: *mut c_void,
    samples: std::marker::PhantomData<S>,
}
unsafe impl<S: Sample> Send for Transform<S> {}
unsafe impl<S: Sample> Sync for Transform<S> {}

impl<S: Sample> Transform<S> {
    fn new(path: &str, space: &str) -> Result<Self, String> {
        let path = CString::new(path).map_err(|error| error.to_string())?;
        let space = CString::new(space).map_err(|error| error.to_string())?;
        let source = Profile { data: null(), size: 0, path: path.as_ptr(), space: null() };
        let target = Profile { data: null(), size: 0, path: null(), space: space.as_ptr() };
        let mut options: Options = unsafe { std::mem::zeroed() };
        options.size = std::mem::size_of::<Options>();
        options.samples = S::NUMBER;
        let mut handle = null_mut();
        let mut error: Error = unsafe { std::mem::zeroed() };
        match unsafe { hw_transform_create(&source, &target, &options, &mut handle, &mut error) } {
            0 => Ok(Transform { handle, samples: std::marker::PhantomData }),
            _ => Err(text(error.message.as_ptr())),
        }
    }

    /// Converts interleaved RGB in place.
    fn convert(&self, pixels: &mut [S]) -> Result<(), String> {
        let at = pixels.as_mut_ptr() as *mut c_void;
        match unsafe { hw_convert(self.handle, at, at, pixels.len() / 3) } {
            0 => Ok(()),
            status => Err(text(unsafe { hw_status_message(status) })),
        }
    }
}

impl<S: Sample> Drop for Transform<S> {
    fn drop(&mut self) {
        unsafe { hw_transform_free(self.handle) }
    }
}

fn print(path: &str) -> Result<(), String> {
    let scan: [u8; 12] = [255, 255, 255, 128, 128, 128, 200, 40, 40, 12, 90, 160];
    let mut bytes = scan;
    let mut floats = scan.map(|sample| f32::from(sample) / 255.0);
    Transform::<u8>::new(path, "srgb")?.convert(&mut bytes)?;
    Transform::<f32>::new(path, "srgb")?.convert(&mut floats)?;
    for i in (0..12).step_by(3) {
        let (s, b, f) = (&scan[i..], &bytes[i..], &floats[i..]);
        println!(
            "{} {} {} -> {} {} {} -> {:.6} {:.6} {:.6}",
            s[0], s[1], s[2], b[0], b[1], b[2], f[0], f[1], f[2]
        );
    }
    Ok(())
}

fn main() {
    let arguments: Vec<String> = std::env::args().collect();
    if arguments.len() != 2 {
        eprintln!("usage: transform_ffi PROFILE");
        std::process::exit(2);
    }
    if let Err(message) = print(&arguments[1]) {
        eprintln!("{}", message);
        std::process::exit(1);
    }
}
