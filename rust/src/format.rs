//! A line of the process's log comes as a format of C and its arguments.

use crate::call::constant;
use std::os::raw::{c_char, c_int, c_void};
use std::ptr::null_mut;

#[cfg(unix)]
extern "C" {
    fn vasprintf(text: *mut *mut c_char, format: *const c_char, arguments: *mut c_void) -> c_int;
    fn free(text: *mut c_char);
}

#[cfg(unix)]
pub(crate) unsafe fn formatted(format: *const c_char, arguments: *mut c_void) -> String {
    let mut text = null_mut();
    if vasprintf(&mut text, format, arguments) < 0 {
        return String::new();
    }
    let copied = constant(text);
    free(text);
    copied
}

#[cfg(windows)]
#[cfg_attr(target_env = "msvc", link(name = "legacy_stdio_definitions"))]
extern "C" {
    fn _vsnprintf(text: *mut c_char, size: usize, format: *const c_char, arguments: *mut c_void) -> c_int;
    fn _vscprintf(format: *const c_char, arguments: *mut c_void) -> c_int;
}

#[cfg(windows)]
pub(crate) unsafe fn formatted(format: *const c_char, arguments: *mut c_void) -> String {
    let mut text = vec![0u8; _vscprintf(format, arguments).max(0) as usize + 1];
    _vsnprintf(text.as_mut_ptr().cast(), text.len(), format, arguments);
    constant(text.as_ptr().cast())
}
