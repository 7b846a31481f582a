//! How the C interface is called, once for all functions.

use crate::callbacks::{forget, resume};
use crate::generated::exports::kavro_broker_text;
use crate::{Code, Error, Operation, Result};
use std::any::Any;
use std::ffi::CStr;
use std::os::raw::{c_char, c_void};
use std::ptr::{null_mut, write_volatile};
use std::sync::{Arc, Mutex, Weak};
use std::time::Duration;

type Free = unsafe extern "C" fn(*mut c_void);

/// After each call that has a result.
pub(crate) fn check(result: u32) -> Result<()> {
    resume();
    match Code(result) {
        Code::OK => Ok(()),
        code => Err(Error::new(code, "")),
    }
}

/// What the library made and has to free.
pub(crate) struct Owned {
    pub handle: *mut c_void,
    free: Free,
}

impl Owned {
    pub fn new(handle: *mut c_void, free: Free) -> Self {
        Owned { handle, free }
    }

    /// What `create(&mut handle)` makes.
    pub fn made(create: impl FnOnce(*mut *mut c_void) -> u32, free: Free) -> Result<Self> {
        let mut handle = null_mut();
        let result = create(&mut handle);
        let owned = Owned::new(handle, free);
        check(result).map(|_| owned)
    }
}

impl Drop for Owned {
    fn drop(&mut self) {
        unsafe { (self.free)(self.handle) }
        forget();
    }
}

/// A handle that may be cancelled on any thread, and what the library may call until it is freed.
pub(crate) struct Shared {
    pub owned: Owned,
    kept: Mutex<Vec<Box<dyn Any + Send>>>,
}

// Only what owns it uses it, on one thread at a time; a Canceller calls what may be called on any.
unsafe impl Send for Shared {}
unsafe impl Sync for Shared {}

impl Shared {
    pub fn new(owned: Owned) -> Arc<Self> {
        let kept = Mutex::default();
        Arc::new(Shared { owned, kept })
    }

    /// Which callback the library still holds is its own affair: all are kept.
    pub fn keep<T: Send + 'static>(&self, callback: T) -> *mut c_void {
        let callback = Box::new(callback);
        let context = &*callback as *const T as *mut c_void;
        self.kept.lock().expect("nothing panics with it").push(callback);
        context
    }
}

/// Ends what is under way, with [`Code::CANCELLED`], from whatever thread it is on.
#[derive(Clone)]
pub struct Canceller {
    shared: Weak<Shared>,
    cancel: unsafe extern "C" fn(*mut c_void),
}

impl Canceller {
    pub(crate) fn new(shared: &Arc<Shared>, cancel: Free) -> Self {
        let shared = Arc::downgrade(shared);
        Canceller { shared, cancel }
    }

    /// A cancel that meets no request is forgotten.
    pub fn cancel(&self) {
        if let Some(shared) = self.shared.upgrade() {
            unsafe { (self.cancel)(shared.owned.handle) }
            resume();
        }
    }
}

/// A text on its way into a call. It is wiped afterwards, as it may be secret.
pub(crate) struct Text(Vec<u8>);

impl Text {
    /// The library would take no more than what comes before a zero.
    pub fn new(text: &str) -> Result<Self> {
        if text.contains('\0') {
            return Err(Error::new(Code::INVALID_PARAMETER, ""));
        }
        let mut bytes = Vec::with_capacity(text.len() + 1);
        bytes.extend_from_slice(text.as_bytes());
        bytes.push(0);
        Ok(Text(bytes))
    }

    pub fn as_ptr(&self) -> *const c_char {
        self.0.as_ptr().cast()
    }
}

impl Drop for Text {
    fn drop(&mut self) {
        for byte in &mut self.0 {
            unsafe { write_volatile(byte, 0) }
        }
    }
}

/// Room for a text that comes out.
#[derive(Default)]
pub(crate) struct Room {
    bytes: Vec<u8>,
    size: usize,
}

impl Room {
    pub fn buffer(&mut self) -> *mut c_char {
        if self.bytes.is_empty() {
            return null_mut();
        }
        self.bytes.as_mut_ptr().cast()
    }

    pub fn size(&mut self) -> *mut usize {
        &mut self.size
    }

    fn text(self) -> String {
        String::from_utf8_lossy(&self.bytes[..self.size - 1]).into_owned()
    }
}

/// Asks for the sizes of all texts, makes room and asks for the texts.
pub(crate) fn read_texts<const N: usize>(mut read: impl FnMut(&mut [Room; N]) -> u32) -> Result<[String; N]> {
    let mut rooms = std::array::from_fn(|_| Room::default());
    check(read(&mut rooms))?;
    for room in &mut rooms {
        room.bytes = vec![0; room.size];
    }
    check(read(&mut rooms))?;
    Ok(rooms.map(Room::text))
}

/// `read` for as many as `count` tells.
pub(crate) fn read_each<T>(
    owner: *mut c_void,
    count: unsafe extern "C" fn(*mut c_void, *mut u32) -> u32,
    read: impl Fn(*mut c_void, u32) -> Result<T>,
) -> Result<Vec<T>> {
    let mut size = 0;
    check(unsafe { count(owner, &mut size) })?;
    (0..size).map(|index| read(owner, index)).collect()
}

/// A text of the library that ends with a zero.
pub(crate) fn constant(text: *const c_char) -> String {
    unsafe { CStr::from_ptr(text) }.to_string_lossy().into_owned()
}

pub(crate) fn copy(text: &kavro_broker_text) -> String {
    let bytes = unsafe { std::slice::from_raw_parts(text.data.cast(), text.size) };
    String::from_utf8_lossy(bytes).into_owned()
}

pub(crate) fn bits(operations: &u32) -> Vec<Operation> {
    let offered = |operation: &Operation| operations >> operation.0 & 1 != 0;
    Operation::ALL.iter().copied().filter(offered).collect()
}

/// The library stops the process at an operation that there is none of.
pub(crate) fn known(operation: Operation) -> Result<u32> {
    if !Operation::ALL.contains(&operation) {
        return Err(Error::new(Code::INVALID_PARAMETER, ""));
    }
    Ok(operation.0)
}

/// A duration as the library counts it. One that has no such number is too long.
pub(crate) fn units(time: Duration, in_a_second: u128) -> u32 {
    u32::try_from(time.as_millis() * in_a_second / 1000).unwrap_or(u32::MAX)
}
