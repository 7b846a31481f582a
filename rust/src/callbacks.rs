//! The functions that the library calls. None unwinds into it: the call of the library that it came from does.

use crate::call::constant;
use crate::format::formatted;
use crate::process::{LOG, SESSION_LOG_ID};
use crate::{LogCategory, LogMessage, LogSeverity};
use std::any::Any;
use std::cell::RefCell;
use std::os::raw::{c_char, c_int, c_void};
use std::panic::{catch_unwind, resume_unwind, AssertUnwindSafe};
use std::slice::{from_raw_parts, from_raw_parts_mut};

pub(crate) type Listener = Box<dyn Fn(&LogMessage) + Send + Sync>;
pub(crate) type Signer = Box<dyn Fn(&[u8]) -> Option<Vec<u8>> + Send + Sync>;
pub(crate) type SchemeSigner = Box<dyn Fn(u16, &[u8]) -> Option<Vec<u8>> + Send + Sync>;

thread_local! {
    static KEPT: RefCell<Option<Box<dyn Any + Send>>> = RefCell::new(None);
}

/// Nothing, too, once the thread is ending.
fn taken() -> Option<Box<dyn Any + Send>> {
    KEPT.try_with(|kept| kept.borrow_mut().take()).ok()?
}

/// After each call of the library.
pub(crate) fn resume() {
    if let Some(panic) = taken() {
        resume_unwind(panic);
    }
}

pub(crate) fn forget() {
    taken();
}

fn keeping<T>(otherwise: T, callback: impl FnOnce() -> T) -> T {
    catch_unwind(AssertUnwindSafe(callback)).unwrap_or_else(|panic| {
        let _ = KEPT.try_with(|kept| {
            kept.borrow_mut().get_or_insert(panic);
        });
        otherwise
    })
}

fn line(category: i32, severity: i32, error: i32, text: String) -> LogMessage {
    LogMessage {
        category: LogCategory(category as u32),
        severity: LogSeverity(severity as u32),
        error,
        text,
    }
}

pub(crate) unsafe extern "C" fn deliver_log(
    category: i32,
    severity: i32,
    error: i32,
    format: *const c_char,
    arguments: *mut c_void,
) {
    keeping((), || {
        if let Some(listener) = LOG.get() {
            listener(&line(category, severity, error, formatted(format, arguments)));
        }
    })
}

pub(crate) unsafe extern "C" fn deliver_session_log_id(session_id: *const c_char) {
    keeping((), || {
        if let Some(listener) = SESSION_LOG_ID.get() {
            listener(&constant(session_id));
        }
    })
}

pub(crate) unsafe extern "C" fn deliver_message(
    context: *mut c_void,
    category: i32,
    severity: i32,
    error: i32,
    text: *const c_char,
) {
    let listener = &*(context as *const Listener);
    keeping((), || listener(&line(category, severity, error, constant(text))))
}

pub(crate) unsafe extern "C" fn sign(
    context: *mut c_void,
    digest: *const u8,
    digest_length: usize,
    signature: *mut u8,
    length: *mut usize,
) -> c_int {
    let signer = &*(context as *const Signer);
    let made = keeping(None, || signer(from_raw_parts(digest, digest_length)));
    c_int::from(put(made, signature, &mut *length))
}

pub(crate) unsafe extern "C" fn sign_by_scheme(
    context: *mut c_void,
    scheme: u16,
    digest: *const u8,
    digest_length: usize,
    signature: *mut u8,
    length: *mut usize,
) -> c_int {
    let signer = &*(context as *const SchemeSigner);
    let made = keeping(None, || signer(scheme, from_raw_parts(digest, digest_length)));
    c_int::from(!put(made, signature, &mut *length))
}

/// Whether a signature was made, and there is room for it.
unsafe fn put(made: Option<Vec<u8>>, signature: *mut u8, length: &mut usize) -> bool {
    match made {
        Some(made) if made.len() <= *length => {
            from_raw_parts_mut(signature, made.len()).copy_from_slice(&made);
            *length = made.len();
            true
        }
        _ => false,
    }
}
