use crate::call::{check, constant, Canceller, Owned, Shared, Text};
use crate::generated::exports;
use crate::{BrokerType, FoundType, Result};
use std::cell::Cell;
use std::marker::PhantomData;
use std::os::raw::c_void;
use std::sync::Arc;

/// Finds out what answers at an address. A [`Canceller`] ends a search from another thread.
pub struct TypeFinder {
    shared: Arc<Shared>,
    one_thread_at_a_time: PhantomData<Cell<()>>,
}

impl TypeFinder {
    /// A finder that has found nothing yet.
    pub fn new() -> Result<Self> {
        let create = |finder| unsafe { exports::kavro_broker_create_type_finder(finder) };
        let owned = Owned::made(create, exports::kavro_broker_free_type_finder)?;
        Ok(TypeFinder {
            shared: Shared::new(owned),
            one_thread_at_a_time: PhantomData,
        })
    }

    /// What ends a search from another thread.
    pub fn canceller(&self) -> Canceller {
        Canceller::new(&self.shared, exports::kavro_broker_cancel_find_type)
    }

    /// What answers at an address, and where it was found.
    pub fn find_type_extended(&mut self, address: &str, port: &str) -> Result<FoundType> {
        let (mut found, mut found_address, mut found_port) = (0, [0; 2049], [0; 8]);
        check(unsafe {
            exports::kavro_broker_find_type_extended(
                self.handle(),
                Text::new(address)?.as_ptr(),
                Text::new(port)?.as_ptr(),
                &mut found,
                found_address.as_mut_ptr(),
                found_address.len(),
                found_port.as_mut_ptr(),
                found_port.len(),
            )
        })?;
        Ok(FoundType {
            type_code: BrokerType(found),
            address: constant(found_address.as_ptr()),
            port: constant(found_port.as_ptr()),
        })
    }

    pub(crate) fn handle(&self) -> *mut c_void {
        self.shared.owned.handle
    }
}
