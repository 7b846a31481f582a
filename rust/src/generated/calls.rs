// Written by tools/bindings/generate.py; not to be edited.
use super::constants::*;
use super::exports;
use super::records::*;
use crate::call::{bits, check, constant, copy, known, read_each, read_texts, units, Owned, Text};
use crate::callbacks::resume;
use crate::records::{read_desktop_connection_info, read_desktop_list};
use crate::variables::{Fields, VariableList};
use crate::{Broker, Result, TypeFinder};
use std::mem::{size_of, zeroed};
use std::os::raw::c_void;
use std::ptr::null_mut;
use std::time::Duration;

impl Broker {
    /// Where the broker is: a name, an address, an https URL, or a registration code; and its port, the usual one when it is empty.
    pub fn set_broker_address(&mut self, address: &str, port: &str) -> Result<()> {
        let address = Text::new(address)?;
        let port = Text::new(port)?;
        check(unsafe { exports::kavro_broker_set_broker_address(self.handle(), address.as_ptr(), port.as_ptr()) })
    }

    /// What the address is.
    pub fn set_broker_variant(&mut self, variant: BrokerVariant) -> Result<()> {
        check(unsafe { exports::kavro_broker_set_broker_variant(self.handle(), variant.0) })
    }

    /// What the program says of itself in its hello.
    pub fn set_client_info(&mut self, product_name: &str, product_version: &str, platform: &str) -> Result<()> {
        let product_name = Text::new(product_name)?;
        let product_version = Text::new(product_version)?;
        let platform = Text::new(platform)?;
        check(unsafe { exports::kavro_broker_set_client_info(self.handle(), product_name.as_ptr(), product_version.as_ptr(), platform.as_ptr()) })
    }

    /// The language that the broker's texts shall be in, as "en_US".
    pub fn set_locale(&mut self, locale: &str) -> Result<()> {
        let locale = Text::new(locale)?;
        check(unsafe { exports::kavro_broker_set_locale(self.handle(), locale.as_ptr()) })
    }

    /// The user's time zone for desktops; the machine's, unless set.
    pub fn set_timezone(&mut self, timezone: &str) -> Result<()> {
        let timezone = Text::new(timezone)?;
        check(unsafe { exports::kavro_broker_set_timezone(self.handle(), timezone.as_ptr()) })
    }

    /// Names and values that go into the next hello.
    pub fn set_hello_client_variables(&mut self, variables: &[(&str, &str)]) -> Result<()> {
        let variables = VariableList::new(variables)?;
        check(unsafe { exports::kavro_broker_set_hello_client_variables(self.handle(), variables.handle()) })
    }

    /// How long an allocation may take: 0 is the default, 0xFFFF a day.
    pub fn set_connect_to_desktop_timeout(&mut self, seconds: u16) -> Result<()> {
        check(unsafe { exports::kavro_broker_set_connect_to_desktop_timeout(self.handle(), seconds) })
    }

    /// Keeps the connection between requests for so long, at most 300 s; 0 keeps none.
    pub fn keep_connection(&mut self, idle: Duration) -> Result<()> {
        check(unsafe { exports::kavro_broker_keep_connection(self.handle(), units(idle, 1)) })
    }

    /// Sets a limit, from a tenth of a second to an hour.
    pub fn set_time_limit(&mut self, limit: TimeLimit, time: Duration) -> Result<()> {
        check(unsafe { exports::kavro_broker_set_time_limit(self.handle(), limit.0, units(time, 1000)) })
    }

    /// The way to the broker: "none", "system", or a proxy's URL; and a log-in, unless the user is empty.
    pub fn set_proxy(&mut self, proxy: &str, user: &str, password: &str) -> Result<()> {
        let proxy = Text::new(proxy)?;
        let user = Text::new(user)?;
        let password = Text::new(password)?;
        check(unsafe { exports::kavro_broker_set_proxy(self.handle(), proxy.as_ptr(), user.as_ptr(), password.as_ptr()) })
    }

    /// Whether a broker that is not trusted is left. False is for test brokers.
    pub fn fail_if_unverified(&mut self, fail: bool) -> Result<()> {
        check(unsafe { exports::kavro_broker_fail_if_unverified(self.handle(), fail) })
    }

    /// Has no effect on brokers that take either kind of address as it comes.
    pub fn enable_ipv6(&mut self, enable: bool) {
        unsafe { exports::kavro_broker_enable_ipv6(self.handle(), enable) };
        resume();
    }

    /// Offers the broker to authenticate the user by OAuth.
    pub fn enable_oauth(&mut self, enable: bool) -> Result<()> {
        check(unsafe { exports::kavro_broker_enable_oauth(self.handle(), enable) })
    }

    /// Trusts a certificate in DER form as an issuer, besides the system's.
    pub fn add_trust_anchor(&mut self, der: &[u8]) -> Result<()> {
        check(unsafe { exports::kavro_broker_add_trust_anchor(self.handle(), der.as_ptr(), der.len()) })
    }

    /// Pins a key by the SHA-256 over its SubjectPublicKeyInfo (RFC 7469 section 2.4).
    pub fn add_key_pin(&mut self, sha256: &[u8]) -> Result<()> {
        check(unsafe { exports::kavro_broker_add_key_pin(self.handle(), sha256.as_ptr(), sha256.len()) })
    }

    /// Forgets all keys that were pinned.
    pub fn clear_key_pins(&mut self) -> Result<()> {
        check(unsafe { exports::kavro_broker_clear_key_pins(self.handle()) })
    }

    /// Whether the platform's own judgement counts beside the library's, where there is one.
    pub fn use_platform_verifier(&mut self, r#use: bool) -> Result<()> {
        check(unsafe { exports::kavro_broker_use_platform_verifier(self.handle(), r#use) })
    }

    /// Whether a broker must show its certificate's status (RFC 6066 section 8).
    pub fn require_stapled_status(&mut self, require: bool) -> Result<()> {
        check(unsafe { exports::kavro_broker_require_stapled_status(self.handle(), require) })
    }

    /// What the broker asks for next; [`AuthMethod::NONE`] once the user is logged in.
    pub fn auth_method(&mut self) -> Result<AuthMethod> {
        let mut method = 0;
        self.answered(unsafe { exports::kavro_broker_get_auth_method(self.handle(), &mut method) })?;
        Ok(AuthMethod(method))
    }

    /// Answers [`AuthMethod::PASSWORD`].
    pub fn send_password(&mut self, user_name: &str, domain: &str, password: &str) -> Result<()> {
        let user_name = Text::new(user_name)?;
        let domain = Text::new(domain)?;
        let password = Text::new(password)?;
        self.answered(unsafe { exports::kavro_broker_send_password(self.handle(), user_name.as_ptr(), domain.as_ptr(), password.as_ptr()) })
    }

    /// Answers [`AuthMethod::PASSWORD_EXPIRED`]. The new password goes to the library twice; asking the user twice is the caller's.
    pub fn send_new_password(&mut self, user_name: &str, domain: &str, old_password: &str, new_password: &str) -> Result<()> {
        let user_name = Text::new(user_name)?;
        let domain = Text::new(domain)?;
        let old_password = Text::new(old_password)?;
        let new_password = Text::new(new_password)?;
        self.answered(unsafe { exports::kavro_broker_send_new_password(self.handle(), user_name.as_ptr(), domain.as_ptr(), old_password.as_ptr(), new_password.as_ptr(), new_password.as_ptr()) })
    }

    /// Answers [`AuthMethod::DIALOG`]: the button that was pressed, and names and values of the fields.
    pub fn send_auth_dialog(&mut self, button_id: &str, fields: &[(&str, &str)]) -> Result<()> {
        let button_id = Text::new(button_id)?;
        let fields = Fields::new(fields)?;
        self.answered(unsafe { exports::kavro_broker_send_auth_dialog(self.handle(), button_id.as_ptr(), fields.as_ptr(), fields.len()) })
    }

    /// Answers [`AuthMethod::DISCLAIMER`].
    pub fn send_accept_disclaimer(&mut self, accept: bool) -> Result<()> {
        self.answered(unsafe { exports::kavro_broker_send_accept_disclaimer(self.handle(), accept.into()) })
    }

    /// Answers [`AuthMethod::OAUTH`].
    pub fn send_oauth_code(&mut self, code: &str) -> Result<()> {
        let code = Text::new(code)?;
        self.answered(unsafe { exports::kavro_broker_send_oauth_code(self.handle(), code.as_ptr()) })
    }

    /// Answers [`AuthMethod::SECURID`].
    pub fn send_securid_auth(&mut self, user_name: &str, passcode: &str) -> Result<()> {
        let user_name = Text::new(user_name)?;
        let passcode = Text::new(passcode)?;
        self.answered(unsafe { exports::kavro_broker_send_securid_auth(self.handle(), user_name.as_ptr(), passcode.as_ptr()) })
    }

    /// Answers [`AuthMethod::SECURID_NEXT_TOKEN`].
    pub fn send_securid_token(&mut self, token: &str) -> Result<()> {
        let token = Text::new(token)?;
        self.answered(unsafe { exports::kavro_broker_send_securid_token(self.handle(), token.as_ptr()) })
    }

    /// Answers [`AuthMethod::SECURID_NEW_PIN`].
    pub fn send_securid_pinchange(&mut self, token: &str, new_pin: &str) -> Result<()> {
        let token = Text::new(token)?;
        let new_pin = Text::new(new_pin)?;
        self.answered(unsafe { exports::kavro_broker_send_securid_pinchange(self.handle(), token.as_ptr(), new_pin.as_ptr(), new_pin.as_ptr()) })
    }

    /// Answers [`AuthMethod::SECURID_WAIT`].
    pub fn send_securid_wait(&mut self) -> Result<()> {
        self.answered(unsafe { exports::kavro_broker_send_securid_wait(self.handle()) })
    }

    /// Is for kinds of broker that ask about certificates.
    pub fn send_certificate_confirmation(&mut self, accept: bool, first: &[u8], second: &[u8]) -> Result<()> {
        self.answered(unsafe { exports::kavro_broker_send_certificate_confirmation(self.handle(), accept.into(), first.as_ptr().cast(), second.as_ptr().cast()) })
    }

    /// The desktops that the user may have.
    pub fn request_desktop_list(&mut self) -> Result<Vec<Desktop>> {
        let mut list = null_mut();
        let result = unsafe { exports::kavro_broker_request_desktop_list(self.handle(), &mut list) };
        let list = Owned::new(list, exports::kavro_broker_free_desktop_list);
        self.answered(result)?;
        read_desktop_list(&list)
    }

    /// Allocates a desktop. One that is still being made ready is [`Code::CONNECT_DESKTOP_PENDING`].
    pub fn connect_to_desktop(&mut self, desktop_id: &str, variables: &[(&str, &str)]) -> Result<DesktopConnection> {
        let desktop_id = Text::new(desktop_id)?;
        let variables = VariableList::new(variables)?;
        let mut info = null_mut();
        let result = unsafe { exports::kavro_broker_connect_to_desktop(self.handle(), desktop_id.as_ptr(), variables.handle(), &mut info) };
        let info = Owned::new(info, exports::kavro_broker_free_desktop_connection_info);
        self.answered(result)?;
        read_desktop_connection_info(&info)
    }

    /// Powers a desktop up or down. An operation that there is none of is [`Code::INVALID_PARAMETER`], where the C function stops the process.
    pub fn perform_desktop_operation(&mut self, desktop_id: &str, operation: Operation) -> Result<()> {
        let desktop_id = Text::new(desktop_id)?;
        self.answered(unsafe { exports::kavro_broker_perform_desktop_operation(self.handle(), desktop_id.as_ptr(), known(operation)?) })
    }

    /// Logs out.
    pub fn clear_session(&mut self) -> Result<()> {
        self.answered(unsafe { exports::kavro_broker_clear_session(self.handle()) })
    }

    /// What the broker said of the last request that failed.
    pub fn broker_error_message(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_broker_error_message(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// What became of the last request, as a JSON text.
    pub fn request_report(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_request_report(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// What the broker said of itself.
    pub fn broker_info(&self) -> Result<BrokerInfo> {
        let [product_name, product_version, platform] = read_texts::<3>(|[product_name, product_version, platform]| unsafe { exports::kavro_broker_get_broker_info(self.handle(), product_name.buffer(), product_name.size(), product_version.buffer(), product_version.size(), platform.buffer(), platform.size()) })?;
        Ok(BrokerInfo {
            product_name,
            product_version,
            platform,
        })
    }

    /// The address that the last connection was asked to go to, after a registration code was looked up.
    pub fn resolved_broker_address(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_resolved_broker_address(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// Names and values of the broker's hello.
    pub fn hello_broker_variables(&self) -> Result<Vec<Variable>> {
        read_each(self.handle(), exports::kavro_broker_get_num_hello_broker_variables, read_hello_broker_variable)
    }

    /// The domains that the user may choose from.
    pub fn auth_domains(&self) -> Result<Vec<String>> {
        read_each(self.handle(), exports::kavro_broker_get_num_auth_domains, read_auth_domain)
    }

    /// Names and values that came with the log-in.
    pub fn auth_to_client_variables(&self) -> Result<Vec<Variable>> {
        read_each(self.handle(), exports::kavro_broker_get_num_auth_to_client_variables, read_auth_to_client_variable)
    }

    /// What the user is to accept, after [`AuthMethod::DISCLAIMER`].
    pub fn disclaimer_text(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_disclaimer_text(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// Why the broker's certificate was not accepted; empty when it was.
    pub fn certificate_error_text(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_certificate_error_text(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// The text above the form of the log-in.
    pub(crate) fn auth_dialog_prompt_text(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_auth_dialog_prompt_text(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// What was wrong with the last entries of the form.
    pub(crate) fn auth_dialog_error_text(&self) -> Result<String> {
        let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_auth_dialog_error_text(self.handle(), buffer.buffer(), buffer.size()) })?;
        Ok(buffer)
    }

    /// The fields of the form.
    pub(crate) fn auth_dialog_fields(&self) -> Result<Vec<DialogField>> {
        read_each(self.handle(), exports::kavro_broker_get_auth_dialog_get_num_fields, read_auth_dialog_field)
    }

    /// The buttons of the form.
    pub(crate) fn auth_dialog_buttons(&self) -> Result<Vec<DialogButton>> {
        read_each(self.handle(), exports::kavro_broker_get_auth_dialog_get_num_buttons, read_auth_dialog_button)
    }
}

impl TypeFinder {
    /// What answers at an address.
    pub fn find_type(&mut self, address: &str, port: &str) -> Result<BrokerType> {
        let address = Text::new(address)?;
        let port = Text::new(port)?;
        let mut type_code = 0;
        check(unsafe { exports::kavro_broker_find_type(self.handle(), address.as_ptr(), port.as_ptr(), &mut type_code) })?;
        Ok(BrokerType(type_code))
    }

    /// Whether a search has run to its end.
    pub fn finished(&self) -> Result<bool> {
        let mut finished = 0;
        check(unsafe { exports::kavro_broker_get_type(self.handle(), &mut finished) })?;
        Ok(finished != 0)
    }
}

/// The library's name and version.
pub fn version() -> String {
    constant(unsafe { exports::kavro_broker_get_version() })
}

/// The name of a result, as "KAVRO_BROKER_ERR_TIMEOUT".
pub fn result_name(code: Code) -> String {
    constant(unsafe { exports::kavro_broker_result_name(code.0) })
}

/// A sentence for a result.
pub fn result_text(code: Code) -> String {
    constant(unsafe { exports::kavro_broker_result_text(code.0) })
}

/// A text that a user typed, as it goes into a request.
pub fn escape_text(text: &str) -> Result<String> {
    let text = Text::new(text)?;
    let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_escape_text(text.as_ptr(), buffer.buffer(), buffer.size()) })?;
    Ok(buffer)
}

/// Drops log messages of a higher severity from now on.
pub fn set_log_level(highest_severity: LogSeverity) {
    unsafe { exports::kavro_broker_set_log_level(highest_severity.0 as i32) };
    resume();
}

/// The folder of the registration table's cache.
pub fn set_cache_file_location(path: &str) -> Result<()> {
    let path = Text::new(path)?;
    unsafe { exports::kavro_broker_set_cache_file_location(path.as_ptr()) };
    resume();
    Ok(())
}

pub(crate) fn read_hello_broker_variable(owner: *mut c_void, index: u32) -> Result<Variable> {
    let [name, value] = read_texts::<2>(|[name, value]| unsafe { exports::kavro_broker_get_hello_broker_variable(owner, index, name.buffer(), name.size(), value.buffer(), value.size()) })?;
    Ok(Variable {
        name,
        value,
    })
}

pub(crate) fn read_auth_domain(owner: *mut c_void, index: u32) -> Result<String> {
    let [buffer] = read_texts::<1>(|[buffer]| unsafe { exports::kavro_broker_get_auth_domain(owner, index, buffer.buffer(), buffer.size()) })?;
    Ok(buffer)
}

pub(crate) fn read_auth_to_client_variable(owner: *mut c_void, index: u32) -> Result<Variable> {
    let [name, value] = read_texts::<2>(|[name, value]| unsafe { exports::kavro_broker_get_auth_to_client_variable(owner, index, name.buffer(), name.size(), value.buffer(), value.size()) })?;
    Ok(Variable {
        name,
        value,
    })
}

pub(crate) fn read_auth_dialog_field(owner: *mut c_void, index: u32) -> Result<DialogField> {
    let mut kind = 0;
    let mut hidden = 0;
    let mut loggable = 0;
    let mut text_type = 0;
    let [name, label, value] = read_texts::<3>(|[name, label, value]| unsafe { exports::kavro_broker_get_auth_dialog_field(owner, index, &mut kind, name.buffer(), name.size(), label.buffer(), label.size(), value.buffer(), value.size(), &mut hidden, &mut loggable, &mut text_type) })?;
    Ok(DialogField {
        name,
        label,
        value,
        read_only: kind != 0,
        hidden: hidden != 0,
        loggable: loggable != 0,
        text_type: TextType(text_type),
    })
}

pub(crate) fn read_auth_dialog_button(owner: *mut c_void, index: u32) -> Result<DialogButton> {
    let mut is_default = 0;
    let [id, label] = read_texts::<2>(|[id, label]| unsafe { exports::kavro_broker_get_auth_dialog_button(owner, index, id.buffer(), id.size(), label.buffer(), label.size(), &mut is_default) })?;
    Ok(DialogButton {
        id,
        label,
        is_default: is_default != 0,
    })
}

pub(crate) fn read_desktop(owner: *mut c_void, index: u32) -> Result<Desktop> {
    let mut desktop: exports::kavro_broker_desktop = unsafe { zeroed() };
    check(unsafe { exports::kavro_broker_get_desktop(owner, index, &mut desktop, size_of::<exports::kavro_broker_desktop>()) })?;
    Ok(Desktop {
        name: copy(&desktop.name),
        id: copy(&desktop.id),
        r#type: copy(&desktop.r#type),
        state: copy(&desktop.state),
        health: copy(&desktop.health),
        operations: bits(&desktop.operations),
    })
}

pub(crate) fn read_desktop_connection_agent_variable(owner: *mut c_void, index: u32) -> Result<Variable> {
    let [name, value] = read_texts::<2>(|[name, value]| unsafe { exports::kavro_broker_get_desktop_connection_agent_variable(owner, index, name.buffer(), name.size(), value.buffer(), value.size()) })?;
    Ok(Variable {
        name,
        value,
    })
}

pub(crate) fn read_desktop_connection_alternate_target(owner: *mut c_void, index: u32) -> Result<Target> {
    let [address, host_name, server_name, port] = read_texts::<4>(|[address, host_name, server_name, port]| unsafe { exports::kavro_broker_get_desktop_connection_alternate_target(owner, index, address.buffer(), address.size(), host_name.buffer(), host_name.size(), server_name.buffer(), server_name.size(), port.buffer(), port.size()) })?;
    Ok(Target {
        address,
        host_name,
        server_name,
        port,
    })
}

pub(crate) fn read_variable(owner: *mut c_void, index: u32) -> Result<Variable> {
    let [name, value] = read_texts::<2>(|[name, value]| unsafe { exports::kavro_broker_get_variable(owner, index, name.buffer(), name.size(), value.buffer(), value.size()) })?;
    Ok(Variable {
        name,
        value,
    })
}
