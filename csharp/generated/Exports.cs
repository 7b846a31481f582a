// Written by tools/bindings/generate.py; not to be edited.
using System;
using System.Runtime.InteropServices;

namespace KavroBroker
{
    [StructLayout(LayoutKind.Sequential)]
    internal struct kavro_broker_name_value
    {
        internal IntPtr name;
        internal IntPtr value;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct kavro_broker_text
    {
        internal IntPtr data;
        internal UIntPtr size;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct kavro_broker_desktop
    {
        internal kavro_broker_text name;
        internal kavro_broker_text id;
        internal kavro_broker_text type;
        internal kavro_broker_text state;
        internal kavro_broker_text health;
        internal uint operations;
    }

    [StructLayout(LayoutKind.Sequential)]
    internal struct kavro_broker_desktop_connection
    {
        internal kavro_broker_text address;
        internal kavro_broker_text host_name;
        internal kavro_broker_text server_name;
        internal kavro_broker_text port;
        internal kavro_broker_text session_id;
        internal kavro_broker_text connect_tag;
        internal uint use_broker_address;
        internal kavro_broker_text gateway_ticket;
        internal kavro_broker_text gateway_ticket_created;
        internal kavro_broker_text gateway_ticket_expires;
    }

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate void kavro_broker_log_function(int category, int severity, int error, IntPtr format, IntPtr arguments);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate void kavro_broker_session_log_id_function(IntPtr sessionId);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate int kavro_broker_sign_function(IntPtr context, IntPtr digest, UIntPtr digestLength, IntPtr signature, ref UIntPtr signatureLength);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate int kavro_broker_sign_scheme_function(IntPtr context, ushort scheme, IntPtr digest, UIntPtr digestLength, IntPtr signature, ref UIntPtr signatureLength);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    internal delegate void kavro_broker_message_function(IntPtr context, int category, int severity, int error, IntPtr text);

    internal sealed class BrokerHandle : Handle
    {
        protected override void Free() { Exports.kavro_broker_free(handle); }
    }

    internal sealed class TypeFinderHandle : Handle
    {
        protected override void Free() { Exports.kavro_broker_free_type_finder(handle); }
    }

    internal sealed class DesktopListHandle : Handle
    {
        protected override void Free() { Exports.kavro_broker_free_desktop_list(handle); }
    }

    internal sealed class DesktopConnectionInfoHandle : Handle
    {
        protected override void Free() { Exports.kavro_broker_free_desktop_connection_info(handle); }
    }

    internal sealed class VariableListHandle : Handle
    {
        protected override void Free() { Exports.kavro_broker_free_variable_list(handle); }
    }

    internal static class Exports
    {
        private const string File = "broker_client";

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_add_key_pin(BrokerHandle handle, byte[] sha256, UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_add_trust_anchor(BrokerHandle handle, byte[] certificate, UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_cancel(BrokerHandle handle);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_cancel_find_type(TypeFinderHandle finder);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_clear_key_pins(BrokerHandle handle);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_clear_session(BrokerHandle handle);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_connect_to_desktop(BrokerHandle handle, byte[] desktopId, VariableListHandle variables, out DesktopConnectionInfoHandle info);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_create(uint typeCode, out BrokerHandle handle);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_create_type_finder(out TypeFinderHandle finder);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_create_variable_list(uint count, out VariableListHandle list);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_enable_ipv6(BrokerHandle handle, [MarshalAs(UnmanagedType.U1)] bool enable);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_enable_oauth(BrokerHandle handle, [MarshalAs(UnmanagedType.U1)] bool enable);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_escape_text(byte[] text, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_fail_if_unverified(BrokerHandle handle, [MarshalAs(UnmanagedType.U1)] bool fail);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_find_type(TypeFinderHandle finder, byte[] address, byte[] port, out uint typeCode);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_find_type_extended(TypeFinderHandle finder, byte[] address, byte[] port, out uint typeCode, [In, Out] byte[] addressBuffer, UIntPtr addressSize, [In, Out] byte[] portBuffer, UIntPtr portSize);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_free(IntPtr handle);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_free_desktop_connection_info(IntPtr info);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_free_desktop_list(IntPtr list);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_free_type_finder(IntPtr finder);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_free_variable_list(IntPtr list);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_dialog_button(BrokerHandle handle, uint index, [In, Out] byte[] id, ref UIntPtr idLength, [In, Out] byte[] label, ref UIntPtr labelLength, out byte isDefault);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_dialog_error_text(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_dialog_field(BrokerHandle handle, uint index, out uint kind, [In, Out] byte[] name, ref UIntPtr nameLength, [In, Out] byte[] label, ref UIntPtr labelLength, [In, Out] byte[] value, ref UIntPtr valueLength, out byte hidden, out byte loggable, out uint textType);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_dialog_get_num_buttons(BrokerHandle handle, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_dialog_get_num_fields(BrokerHandle handle, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_dialog_prompt_text(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_domain(BrokerHandle handle, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_method(BrokerHandle handle, out uint method);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_auth_to_client_variable(BrokerHandle handle, uint index, [In, Out] byte[] name, ref UIntPtr nameLength, [In, Out] byte[] value, ref UIntPtr valueLength);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_broker_certificate(BrokerHandle handle, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_broker_error_message(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_broker_info(BrokerHandle handle, [In, Out] byte[] productName, ref UIntPtr productNameLength, [In, Out] byte[] productVersion, ref UIntPtr productVersionLength, [In, Out] byte[] platform, ref UIntPtr platformLength);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_certificate_error(BrokerHandle handle, uint index, out uint verdict);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_certificate_error_text(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop(DesktopListHandle list, uint index, out kavro_broker_desktop desktop, UIntPtr sizeOfDesktop);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_connection(DesktopConnectionInfoHandle info, out kavro_broker_desktop_connection connection, UIntPtr sizeOfConnection);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_connection_agent_variable(DesktopConnectionInfoHandle info, uint index, [In, Out] byte[] name, ref UIntPtr nameLength, [In, Out] byte[] value, ref UIntPtr valueLength);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_connection_alternate_target(DesktopConnectionInfoHandle info, uint index, [In, Out] byte[] address, ref UIntPtr addressLength, [In, Out] byte[] hostName, ref UIntPtr hostNameLength, [In, Out] byte[] serverName, ref UIntPtr serverNameLength, [In, Out] byte[] port, ref UIntPtr portLength);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_connection_property(DesktopConnectionInfoHandle info, uint property, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_health(DesktopListHandle list, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_id(DesktopListHandle list, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_name(DesktopListHandle list, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_operation_allowed(DesktopListHandle list, uint index, uint operation, out byte allowed);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_state(DesktopListHandle list, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_desktop_type(DesktopListHandle list, uint index, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_disclaimer_text(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_hello_broker_variable(BrokerHandle handle, uint index, [In, Out] byte[] name, ref UIntPtr nameLength, [In, Out] byte[] value, ref UIntPtr valueLength);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_auth_domains(BrokerHandle handle, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_auth_to_client_variables(BrokerHandle handle, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_certificates(BrokerHandle handle, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_desktop_connection_agent_variables(DesktopConnectionInfoHandle info, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_desktop_connection_alternate_targets(DesktopConnectionInfoHandle info, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_desktops(DesktopListHandle list, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_num_hello_broker_variables(BrokerHandle handle, out uint count);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_request_report(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_resolved_broker_address(BrokerHandle handle, [In, Out] byte[] buffer, ref UIntPtr length);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_type(TypeFinderHandle finder, out uint finished);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_get_variable(VariableListHandle list, uint index, [In, Out] byte[] name, ref UIntPtr nameLength, [In, Out] byte[] value, ref UIntPtr valueLength);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr kavro_broker_get_version();

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_keep_connection(BrokerHandle handle, uint idleSeconds);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_perform_desktop_operation(BrokerHandle handle, byte[] desktopId, uint operation);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_request_desktop_list(BrokerHandle handle, out DesktopListHandle list);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_require_stapled_status(BrokerHandle handle, [MarshalAs(UnmanagedType.U1)] bool require);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr kavro_broker_result_name(uint code);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern IntPtr kavro_broker_result_text(uint code);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_accept_disclaimer(BrokerHandle handle, byte accept);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_auth_dialog(BrokerHandle handle, byte[] buttonId, kavro_broker_name_value[] fields, uint fieldCount);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_certificate_confirmation(BrokerHandle handle, uint flag, byte[] first, byte[] second);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_new_password(BrokerHandle handle, byte[] userName, byte[] domain, byte[] oldPassword, byte[] newPassword, byte[] newPasswordAgain);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_oauth_code(BrokerHandle handle, byte[] code);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_password(BrokerHandle handle, byte[] userName, byte[] domain, byte[] password);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_securid_auth(BrokerHandle handle, byte[] userName, byte[] passcode);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_securid_pinchange(BrokerHandle handle, byte[] token, byte[] newPin, byte[] newPinAgain);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_securid_token(BrokerHandle handle, byte[] token);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_send_securid_wait(BrokerHandle handle);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_broker_address(BrokerHandle handle, byte[] address, byte[] port);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_broker_variant(BrokerHandle handle, uint variant);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_set_cache_file_location(byte[] path);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_client_certificate(BrokerHandle handle, byte[] certificate, UIntPtr certificateLength, kavro_broker_sign_function sign, IntPtr context);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_client_info(BrokerHandle handle, byte[] productName, byte[] productVersion, byte[] platform);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_connect_to_desktop_timeout(BrokerHandle handle, ushort seconds);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_hello_client_variables(BrokerHandle handle, VariableListHandle list);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_locale(BrokerHandle handle, byte[] locale);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_set_log_function(kavro_broker_log_function function);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_set_log_level(int highestSeverity);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_message_function(BrokerHandle handle, kavro_broker_message_function function, IntPtr context);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_proxy(BrokerHandle handle, byte[] proxy, byte[] user, byte[] password);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern void kavro_broker_set_session_log_id_function(kavro_broker_session_log_id_function function);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_time_limit(BrokerHandle handle, uint limit, uint milliseconds);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_timezone(BrokerHandle handle, byte[] timezone);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_set_variable(VariableListHandle list, uint index, byte[] name, byte[] value);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_use_platform_verifier(BrokerHandle handle, [MarshalAs(UnmanagedType.U1)] bool use);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_use_signing_certificate(BrokerHandle handle, byte[] certificate, UIntPtr length, kavro_broker_sign_function sign, IntPtr context);

        [DllImport(File, CallingConvention = CallingConvention.Cdecl)]
        internal static extern uint kavro_broker_use_signing_key(BrokerHandle handle, byte[] certificates, UIntPtr length, kavro_broker_sign_scheme_function sign, IntPtr context);
    }
}
