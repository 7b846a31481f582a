//! What holds for the whole process.

use crate::callbacks::{deliver_log, deliver_session_log_id, resume};
use crate::generated::exports;
use crate::LogMessage;
use std::sync::{Arc, RwLock};

/// The function that a hook of the process calls.
pub(crate) struct Hook<T: ?Sized>(RwLock<Option<Arc<T>>>);

impl<T: ?Sized> Hook<T> {
    const fn new() -> Self {
        Hook(RwLock::new(None))
    }

    /// It is called without the lock, so that it may set another one.
    pub fn get(&self) -> Option<Arc<T>> {
        self.0.read().ok()?.clone()
    }

    fn set(&self, function: Arc<T>) {
        *self.0.write().expect("nothing panics with it") = Some(function);
    }
}

pub(crate) static LOG: Hook<dyn Fn(&LogMessage) + Send + Sync> = Hook::new();
pub(crate) static SESSION_LOG_ID: Hook<dyn Fn(&str) + Send + Sync> = Hook::new();

/// The function gets every line of the log, on the thread that is inside the library. To be set before the first
/// broker is made and before other threads use the library, as the next one.
pub fn set_log_function(function: impl Fn(&LogMessage) + Send + Sync + 'static) {
    LOG.set(Arc::new(function));
    unsafe { exports::kavro_broker_set_log_function(Some(deliver_log)) }
    resume();
}

/// The function gets the identifier under which the broker logs this client, once it is known.
pub fn set_session_log_id_function(function: impl Fn(&str) + Send + Sync + 'static) {
    SESSION_LOG_ID.set(Arc::new(function));
    unsafe { exports::kavro_broker_set_session_log_id_function(Some(deliver_session_log_id)) }
    resume();
}
