// Written by tools/bindings/generate.py; not to be edited.
#![allow(dead_code, non_camel_case_types)]

use std::os::raw::{c_char, c_int, c_void};

#[repr(C)]
#[derive(Clone, Copy)]
pub struct kavro_broker_name_value {
    pub name: *const c_char,
    pub value: *const c_char,
}

#[repr(C)]
#[derive(Clone, Copy)]
pub struct kavro_broker_text {
    pub data: *const c_char,
    pub size: usize,
}

#[repr(C)]
#[derive(Clone, Copy)]
pub struct kavro_broker_desktop {
    pub name: kavro_broker_text,
    pub id: kavro_broker_text,
    pub r#type: kavro_broker_text,
    pub state: kavro_broker_text,
    pub health: kavro_broker_text,
    pub operations: u32,
}

#[repr(C)]
#[derive(Clone, Copy)]
pub struct kavro_broker_desktop_connection {
    pub address: kavro_broker_text,
    pub host_name: kavro_broker_text,
    pub server_name: kavro_broker_text,
    pub port: kavro_broker_text,
    pub session_id: kavro_broker_text,
    pub connect_tag: kavro_broker_text,
    pub use_broker_address: u32,
    pub gateway_ticket: kavro_broker_text,
    pub gateway_ticket_created: kavro_broker_text,
    pub gateway_ticket_expires: kavro_broker_text,
}

pub type kavro_broker_log_function =
    Option<unsafe extern "C" fn(category: i32, severity: i32, error: i32, format: *const c_char, arguments: *mut c_void)>;

pub type kavro_broker_session_log_id_function =
    Option<unsafe extern "C" fn(session_id: *const c_char)>;

pub type kavro_broker_sign_function =
    Option<unsafe extern "C" fn(context: *mut c_void, digest: *const u8, digest_length: usize, signature: *mut u8, signature_length: *mut usize) -> c_int>;

pub type kavro_broker_sign_scheme_function =
    Option<unsafe extern "C" fn(context: *mut c_void, scheme: u16, digest: *const u8, digest_length: usize, signature: *mut u8, signature_length: *mut usize) -> c_int>;

pub type kavro_broker_message_function =
    Option<unsafe extern "C" fn(context: *mut c_void, category: i32, severity: i32, error: i32, text: *const c_char)>;

#[link(name = "broker_client")]
extern "C" {
    pub fn kavro_broker_add_key_pin(handle: *mut c_void, sha256: *const u8, length: usize) -> u32;
    pub fn kavro_broker_add_trust_anchor(handle: *mut c_void, certificate: *const u8, length: usize) -> u32;
    pub fn kavro_broker_cancel(handle: *mut c_void);
    pub fn kavro_broker_cancel_find_type(finder: *mut c_void);
    pub fn kavro_broker_clear_key_pins(handle: *mut c_void) -> u32;
    pub fn kavro_broker_clear_session(handle: *mut c_void) -> u32;
    pub fn kavro_broker_connect_to_desktop(handle: *mut c_void, desktop_id: *const c_char, variables: *mut c_void, info: *mut *mut c_void) -> u32;
    pub fn kavro_broker_create(type_code: u32, handle: *mut *mut c_void) -> u32;
    pub fn kavro_broker_create_type_finder(finder: *mut *mut c_void) -> u32;
    pub fn kavro_broker_create_variable_list(count: u32, list: *mut *mut c_void) -> u32;
    pub fn kavro_broker_enable_ipv6(handle: *mut c_void, enable: bool);
    pub fn kavro_broker_enable_oauth(handle: *mut c_void, enable: bool) -> u32;
    pub fn kavro_broker_escape_text(text: *const c_char, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_fail_if_unverified(handle: *mut c_void, fail: bool) -> u32;
    pub fn kavro_broker_find_type(finder: *mut c_void, address: *const c_char, port: *const c_char, type_code: *mut u32) -> u32;
    pub fn kavro_broker_find_type_extended(finder: *mut c_void, address: *const c_char, port: *const c_char, type_code: *mut u32, address_buffer: *mut c_char, address_size: usize, port_buffer: *mut c_char, port_size: usize) -> u32;
    pub fn kavro_broker_free(handle: *mut c_void);
    pub fn kavro_broker_free_desktop_connection_info(info: *mut c_void);
    pub fn kavro_broker_free_desktop_list(list: *mut c_void);
    pub fn kavro_broker_free_type_finder(finder: *mut c_void);
    pub fn kavro_broker_free_variable_list(list: *mut c_void);
    pub fn kavro_broker_get_auth_dialog_button(handle: *mut c_void, index: u32, id: *mut c_char, id_length: *mut usize, label: *mut c_char, label_length: *mut usize, is_default: *mut u8) -> u32;
    pub fn kavro_broker_get_auth_dialog_error_text(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_auth_dialog_field(handle: *mut c_void, index: u32, kind: *mut u32, name: *mut c_char, name_length: *mut usize, label: *mut c_char, label_length: *mut usize, value: *mut c_char, value_length: *mut usize, hidden: *mut u8, loggable: *mut u8, text_type: *mut u32) -> u32;
    pub fn kavro_broker_get_auth_dialog_get_num_buttons(handle: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_auth_dialog_get_num_fields(handle: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_auth_dialog_prompt_text(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_auth_domain(handle: *mut c_void, index: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_auth_method(handle: *mut c_void, method: *mut u32) -> u32;
    pub fn kavro_broker_get_auth_to_client_variable(handle: *mut c_void, index: u32, name: *mut c_char, name_length: *mut usize, value: *mut c_char, value_length: *mut usize) -> u32;
    pub fn kavro_broker_get_broker_certificate(handle: *mut c_void, index: u32, buffer: *mut u8, length: *mut usize) -> u32;
    pub fn kavro_broker_get_broker_error_message(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_broker_info(handle: *mut c_void, product_name: *mut c_char, product_name_length: *mut usize, product_version: *mut c_char, product_version_length: *mut usize, platform: *mut c_char, platform_length: *mut usize) -> u32;
    pub fn kavro_broker_get_certificate_error(handle: *mut c_void, index: u32, verdict: *mut u32) -> u32;
    pub fn kavro_broker_get_certificate_error_text(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop(list: *mut c_void, index: u32, desktop: *mut kavro_broker_desktop, size_of_desktop: usize) -> u32;
    pub fn kavro_broker_get_desktop_connection(info: *mut c_void, connection: *mut kavro_broker_desktop_connection, size_of_connection: usize) -> u32;
    pub fn kavro_broker_get_desktop_connection_agent_variable(info: *mut c_void, index: u32, name: *mut c_char, name_length: *mut usize, value: *mut c_char, value_length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_connection_alternate_target(info: *mut c_void, index: u32, address: *mut c_char, address_length: *mut usize, host_name: *mut c_char, host_name_length: *mut usize, server_name: *mut c_char, server_name_length: *mut usize, port: *mut c_char, port_length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_connection_property(info: *mut c_void, property: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_health(list: *mut c_void, index: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_id(list: *mut c_void, index: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_name(list: *mut c_void, index: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_operation_allowed(list: *mut c_void, index: u32, operation: u32, allowed: *mut u8) -> u32;
    pub fn kavro_broker_get_desktop_state(list: *mut c_void, index: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_desktop_type(list: *mut c_void, index: u32, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_disclaimer_text(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_hello_broker_variable(handle: *mut c_void, index: u32, name: *mut c_char, name_length: *mut usize, value: *mut c_char, value_length: *mut usize) -> u32;
    pub fn kavro_broker_get_num_auth_domains(handle: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_num_auth_to_client_variables(handle: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_num_certificates(handle: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_num_desktop_connection_agent_variables(info: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_num_desktop_connection_alternate_targets(info: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_num_desktops(list: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_num_hello_broker_variables(handle: *mut c_void, count: *mut u32) -> u32;
    pub fn kavro_broker_get_request_report(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_resolved_broker_address(handle: *mut c_void, buffer: *mut c_char, length: *mut usize) -> u32;
    pub fn kavro_broker_get_type(finder: *mut c_void, finished: *mut u32) -> u32;
    pub fn kavro_broker_get_variable(list: *mut c_void, index: u32, name: *mut c_char, name_length: *mut usize, value: *mut c_char, value_length: *mut usize) -> u32;
    pub fn kavro_broker_get_version() -> *const c_char;
    pub fn kavro_broker_keep_connection(handle: *mut c_void, idle_seconds: u32) -> u32;
    pub fn kavro_broker_perform_desktop_operation(handle: *mut c_void, desktop_id: *const c_char, operation: u32) -> u32;
    pub fn kavro_broker_request_desktop_list(handle: *mut c_void, list: *mut *mut c_void) -> u32;
    pub fn kavro_broker_require_stapled_status(handle: *mut c_void, require: bool) -> u32;
    pub fn kavro_broker_result_name(code: u32) -> *const c_char;
    pub fn kavro_broker_result_text(code: u32) -> *const c_char;
    pub fn kavro_broker_send_accept_disclaimer(handle: *mut c_void, accept: u8) -> u32;
    pub fn kavro_broker_send_auth_dialog(handle: *mut c_void, button_id: *const c_char, fields: *const kavro_broker_name_value, field_count: u32) -> u32;
    pub fn kavro_broker_send_certificate_confirmation(handle: *mut c_void, flag: u32, first: *const c_void, second: *const c_void) -> u32;
    pub fn kavro_broker_send_new_password(handle: *mut c_void, user_name: *const c_char, domain: *const c_char, old_password: *const c_char, new_password: *const c_char, new_password_again: *const c_char) -> u32;
    pub fn kavro_broker_send_oauth_code(handle: *mut c_void, code: *const c_char) -> u32;
    pub fn kavro_broker_send_password(handle: *mut c_void, user_name: *const c_char, domain: *const c_char, password: *const c_char) -> u32;
    pub fn kavro_broker_send_securid_auth(handle: *mut c_void, user_name: *const c_char, passcode: *const c_char) -> u32;
    pub fn kavro_broker_send_securid_pinchange(handle: *mut c_void, token: *const c_char, new_pin: *const c_char, new_pin_again: *const c_char) -> u32;
    pub fn kavro_broker_send_securid_token(handle: *mut c_void, token: *const c_char) -> u32;
    pub fn kavro_broker_send_securid_wait(handle: *mut c_void) -> u32;
    pub fn kavro_broker_set_broker_address(handle: *mut c_void, address: *const c_char, port: *const c_char) -> u32;
    pub fn kavro_broker_set_broker_variant(handle: *mut c_void, variant: u32) -> u32;
    pub fn kavro_broker_set_cache_file_location(path: *const c_char);
    pub fn kavro_broker_set_client_certificate(handle: *mut c_void, certificate: *const u8, certificate_length: usize, sign: kavro_broker_sign_function, context: *mut c_void) -> u32;
    pub fn kavro_broker_set_client_info(handle: *mut c_void, product_name: *const c_char, product_version: *const c_char, platform: *const c_char) -> u32;
    pub fn kavro_broker_set_connect_to_desktop_timeout(handle: *mut c_void, seconds: u16) -> u32;
    pub fn kavro_broker_set_hello_client_variables(handle: *mut c_void, list: *mut c_void) -> u32;
    pub fn kavro_broker_set_locale(handle: *mut c_void, locale: *const c_char) -> u32;
    pub fn kavro_broker_set_log_function(function: kavro_broker_log_function);
    pub fn kavro_broker_set_log_level(highest_severity: i32);
    pub fn kavro_broker_set_message_function(handle: *mut c_void, function: kavro_broker_message_function, context: *mut c_void) -> u32;
    pub fn kavro_broker_set_proxy(handle: *mut c_void, proxy: *const c_char, user: *const c_char, password: *const c_char) -> u32;
    pub fn kavro_broker_set_session_log_id_function(function: kavro_broker_session_log_id_function);
    pub fn kavro_broker_set_time_limit(handle: *mut c_void, limit: u32, milliseconds: u32) -> u32;
    pub fn kavro_broker_set_timezone(handle: *mut c_void, timezone: *const c_char) -> u32;
    pub fn kavro_broker_set_variable(list: *mut c_void, index: u32, name: *const c_char, value: *const c_char) -> u32;
    pub fn kavro_broker_use_platform_verifier(handle: *mut c_void, r#use: bool) -> u32;
    pub fn kavro_broker_use_signing_certificate(handle: *mut c_void, certificate: *const u8, length: usize, sign: kavro_broker_sign_function, context: *mut c_void) -> u32;
    pub fn kavro_broker_use_signing_key(handle: *mut c_void, certificates: *const u8, length: usize, sign: kavro_broker_sign_scheme_function, context: *mut c_void) -> u32;
}
