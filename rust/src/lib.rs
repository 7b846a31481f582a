//! Conversations with connection brokers, through the broker_client library.
//!
//! A function is called as in the C interface, without `kavro_broker_` and `get_`, and does what is documented
//! there. What comes out is returned; a result other than OK is an [`Error`]. As in C, a text that a user typed
//! goes through [`escape_text`] on its way into a request, and a log function is set before the first [`Broker`]
//! is made.
//!
//! A callback that panics does not unwind through the library: the call that it came from panics instead.
//!
//! A [`Broker`] can be moved to another thread, but not be used by two at once:
//!
//! ```compile_fail
//! fn is_sync<T: Sync>() {}
//! is_sync::<kavro_broker::Broker>();
//! ```
#![deny(missing_docs)]

mod broker;
mod call;
mod callbacks;
mod error;
mod format;
#[rustfmt::skip]
mod generated;
mod process;
mod records;
mod type_finder;
mod variables;

pub use broker::Broker;
pub use call::Canceller;
pub use error::{Error, Result};
pub use generated::calls::{
    escape_text, result_name, result_text, set_cache_file_location, set_log_level, version,
};
pub use generated::constants::*;
pub use generated::records::*;
pub use process::{set_log_function, set_session_log_id_function};
pub use type_finder::TypeFinder;
pub use variables::VariableList;
