use crate::call::{check, read_each, Canceller, Owned, Shared};
use crate::callbacks::{deliver_message, resume, sign, sign_by_scheme, Listener, SchemeSigner, Signer};
use crate::generated::exports;
use crate::records::read_certificate;
use crate::{BrokerType, Certificate, Code, Dialog, Error, LogMessage, Result};
use std::cell::Cell;
use std::marker::PhantomData;
use std::os::raw::c_void;
use std::ptr::null_mut;
use std::sync::Arc;

/// One conversation with a broker. Requests block; a [`Canceller`] ends one from another thread.
pub struct Broker {
    shared: Arc<Shared>,
    one_thread_at_a_time: PhantomData<Cell<()>>,
}

impl Broker {
    /// A conversation with a broker of this type, [`BrokerType::KAVRO`] as a rule.
    pub fn new(kind: BrokerType) -> Result<Self> {
        let create = |handle| unsafe { exports::kavro_broker_create(kind.0, handle) };
        let owned = Owned::made(create, exports::kavro_broker_free)?;
        Ok(Broker {
            shared: Shared::new(owned),
            one_thread_at_a_time: PhantomData,
        })
    }

    /// What ends a request from another thread.
    pub fn canceller(&self) -> Canceller {
        Canceller::new(&self.shared, exports::kavro_broker_cancel)
    }

    /// The function gets the lines of this conversation.
    pub fn set_message_function(
        &mut self,
        function: impl Fn(&LogMessage) + Send + Sync + 'static,
    ) -> Result<()> {
        let context = self.shared.keep::<Listener>(Box::new(function));
        check(unsafe {
            exports::kavro_broker_set_message_function(self.handle(), Some(deliver_message), context)
        })
    }

    /// The lines of this conversation go to the process's log function again.
    pub fn clear_message_function(&mut self) -> Result<()> {
        check(unsafe { exports::kavro_broker_set_message_function(self.handle(), None, null_mut()) })
    }

    /// The function gives the signature of a digest, or nothing when it cannot be made.
    pub fn use_signing_certificate(
        &mut self,
        der: &[u8],
        function: impl Fn(&[u8]) -> Option<Vec<u8>> + Send + Sync + 'static,
    ) -> Result<()> {
        let context = self.shared.keep::<Signer>(Box::new(function));
        check(unsafe {
            exports::kavro_broker_use_signing_certificate(
                self.handle(),
                der.as_ptr(),
                der.len(),
                Some(sign),
                context,
            )
        })
    }

    /// One certificate in DER form, or several in PEM form, the client's own first. The function gives the
    /// signature, by a TLS SignatureScheme (RFC 8446 section 4.2.3), of a digest, or nothing when it cannot be
    /// made.
    pub fn use_signing_key(
        &mut self,
        certificates: &[u8],
        function: impl Fn(u16, &[u8]) -> Option<Vec<u8>> + Send + Sync + 'static,
    ) -> Result<()> {
        let context = self.shared.keep::<SchemeSigner>(Box::new(function));
        check(unsafe {
            exports::kavro_broker_use_signing_key(
                self.handle(),
                certificates.as_ptr(),
                certificates.len(),
                Some(sign_by_scheme),
                context,
            )
        })
    }

    /// The older form of [`Broker::use_signing_certificate`].
    pub fn set_client_certificate(
        &mut self,
        der: &[u8],
        function: impl Fn(&[u8]) -> Option<Vec<u8>> + Send + Sync + 'static,
    ) -> Result<()> {
        let context = self.shared.keep::<Signer>(Box::new(function));
        check(unsafe {
            exports::kavro_broker_set_client_certificate(
                self.handle(),
                der.as_ptr(),
                der.len(),
                Some(sign),
                context,
            )
        })
    }

    /// The form that the broker wants filled in, after [`AuthMethod::DIALOG`](crate::AuthMethod::DIALOG).
    pub fn auth_dialog(&self) -> Result<Dialog> {
        Ok(Dialog {
            prompt_text: self.auth_dialog_prompt_text()?,
            error_text: self.auth_dialog_error_text()?,
            fields: self.auth_dialog_fields()?,
            buttons: self.auth_dialog_buttons()?,
        })
    }

    /// The broker's chain, its own certificate first.
    pub fn certificates(&self) -> Result<Vec<Certificate>> {
        let count = exports::kavro_broker_get_num_certificates;
        read_each(self.handle(), count, read_certificate)
    }

    pub(crate) fn handle(&self) -> *mut c_void {
        self.shared.owned.handle
    }

    /// After each request.
    pub(crate) fn answered(&self, result: u32) -> Result<()> {
        resume();
        match Code(result) {
            Code::OK => Ok(()),
            code => Err(Error::new(code, self.broker_error_message()?)),
        }
    }
}
