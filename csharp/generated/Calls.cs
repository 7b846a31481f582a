// Written by tools/bindings/generate.py; not to be edited.
using System;
using System.Collections.Generic;
using System.Threading;
using System.Threading.Tasks;

namespace KavroBroker
{
    public sealed partial class Broker
    {
        /// <summary>Where the broker is: a name, an address, an https URL, or a registration code; and its port, the usual one when it is empty.</summary>
        public void SetBrokerAddress(string address, string port = "")
        {
            using (var lent = new Lent())
            {
                Call.Check(Exports.kavro_broker_set_broker_address(handle, lent.Text(address), lent.Text(port)));
            }
        }

        /// <summary>What the address is.</summary>
        public void SetBrokerVariant(BrokerVariant variant)
        {
            Call.Check(Exports.kavro_broker_set_broker_variant(handle, (uint)variant));
        }

        /// <summary>What the program says of itself in its hello.</summary>
        public void SetClientInfo(string productName, string productVersion, string platform)
        {
            using (var lent = new Lent())
            {
                Call.Check(Exports.kavro_broker_set_client_info(handle, lent.Text(productName), lent.Text(productVersion), lent.Text(platform)));
            }
        }

        /// <summary>The language that the broker's texts shall be in, as "en_US".</summary>
        public void SetLocale(string locale)
        {
            using (var lent = new Lent())
            {
                Call.Check(Exports.kavro_broker_set_locale(handle, lent.Text(locale)));
            }
        }

        /// <summary>The user's time zone for desktops; the machine's, unless set.</summary>
        public void SetTimeZone(string timezone)
        {
            using (var lent = new Lent())
            {
                Call.Check(Exports.kavro_broker_set_timezone(handle, lent.Text(timezone)));
            }
        }

        /// <summary>Names and values that go into the next hello.</summary>
        public void SetHelloClientVariables(IEnumerable<Variable> variables)
        {
            using (var lent = new Lent())
            {
                Call.Check(Exports.kavro_broker_set_hello_client_variables(handle, lent.Variables(variables)));
            }
        }

        /// <summary>How long an allocation may take: 0 is the default, 0xFFFF a day.</summary>
        public void SetConnectToDesktopTimeout(ushort seconds)
        {
            Call.Check(Exports.kavro_broker_set_connect_to_desktop_timeout(handle, seconds));
        }

        /// <summary>Keeps the connection between requests for so long, at most 300 s; 0 keeps none.</summary>
        public void KeepConnection(TimeSpan idle)
        {
            Call.Check(Exports.kavro_broker_keep_connection(handle, Call.Units(idle, 1)));
        }

        /// <summary>Sets a limit, from a tenth of a second to an hour.</summary>
        public void SetTimeLimit(TimeLimit limit, TimeSpan time)
        {
            Call.Check(Exports.kavro_broker_set_time_limit(handle, (uint)limit, Call.Units(time, 1000)));
        }

        /// <summary>The way to the broker: "none", "system", or a proxy's URL; and a log-in, unless the user is empty.</summary>
        public void SetProxy(string proxy, string user = "", string password = "")
        {
            using (var lent = new Lent())
            {
                Call.Check(Exports.kavro_broker_set_proxy(handle, lent.Text(proxy), lent.Text(user), lent.Text(password)));
            }
        }

        /// <summary>Whether a broker that is not trusted is left. False is for test brokers.</summary>
        public void FailIfUnverified(bool fail)
        {
            Call.Check(Exports.kavro_broker_fail_if_unverified(handle, fail));
        }

        /// <summary>Has no effect on brokers that take either kind of address as it comes.</summary>
        public void EnableIPv6(bool enable)
        {
            Exports.kavro_broker_enable_ipv6(handle, enable);
            Call.Done();
        }

        /// <summary>Offers the broker to authenticate the user by OAuth.</summary>
        public void EnableOAuth(bool enable)
        {
            Call.Check(Exports.kavro_broker_enable_oauth(handle, enable));
        }

        /// <summary>Trusts a certificate in DER form as an issuer, besides the system's.</summary>
        public void AddTrustAnchor(byte[] der)
        {
            Call.Check(Exports.kavro_broker_add_trust_anchor(handle, der, (UIntPtr)der.Length));
        }

        /// <summary>Pins a key by the SHA-256 over its SubjectPublicKeyInfo (RFC 7469 section 2.4).</summary>
        public void AddKeyPin(byte[] sha256)
        {
            Call.Check(Exports.kavro_broker_add_key_pin(handle, sha256, (UIntPtr)sha256.Length));
        }

        /// <summary>Forgets all keys that were pinned.</summary>
        public void ClearKeyPins()
        {
            Call.Check(Exports.kavro_broker_clear_key_pins(handle));
        }

        /// <summary>Whether the platform's own judgement counts beside the library's, where there is one.</summary>
        public void UsePlatformVerifier(bool use)
        {
            Call.Check(Exports.kavro_broker_use_platform_verifier(handle, use));
        }

        /// <summary>Whether a broker must show its certificate's status (RFC 6066 section 8).</summary>
        public void RequireStapledStatus(bool require)
        {
            Call.Check(Exports.kavro_broker_require_stapled_status(handle, require));
        }

        /// <summary>What the broker asks for next; <see cref="AuthMethod.None"/> once the user is logged in.</summary>
        public AuthMethod GetAuthMethod()
        {
            uint method;
            Answered(Exports.kavro_broker_get_auth_method(handle, out method));
            return (AuthMethod)method;
        }

        /// <summary>What the broker asks for next; <see cref="AuthMethod.None"/> once the user is logged in. Cancelling cancels the request.</summary>
        public Task<AuthMethod> GetAuthMethodAsync(CancellationToken cancellationToken = default)
        {
            return Ask(() => GetAuthMethod(), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.Password"/>.</summary>
        public void SendPassword(string userName, string domain, string password)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_password(handle, lent.Text(userName), lent.Text(domain), lent.Text(password)));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.Password"/>. Cancelling cancels the request.</summary>
        public Task SendPasswordAsync(string userName, string domain, string password, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendPassword(userName, domain, password), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.PasswordExpired"/>. The new password goes to the library twice; asking the user twice is the caller's.</summary>
        public void SendNewPassword(string userName, string domain, string oldPassword, string newPassword)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_new_password(handle, lent.Text(userName), lent.Text(domain), lent.Text(oldPassword), lent.Text(newPassword), lent.Text(newPassword)));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.PasswordExpired"/>. The new password goes to the library twice; asking the user twice is the caller's. Cancelling cancels the request.</summary>
        public Task SendNewPasswordAsync(string userName, string domain, string oldPassword, string newPassword, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendNewPassword(userName, domain, oldPassword, newPassword), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.Dialog"/>: the button that was pressed, and names and values of the fields.</summary>
        public void SendAuthDialog(string buttonId, IEnumerable<Variable> fields)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_auth_dialog(handle, lent.Text(buttonId), lent.Fields(fields), lent.Count));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.Dialog"/>: the button that was pressed, and names and values of the fields. Cancelling cancels the request.</summary>
        public Task SendAuthDialogAsync(string buttonId, IEnumerable<Variable> fields, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendAuthDialog(buttonId, fields), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.Disclaimer"/>.</summary>
        public void SendAcceptDisclaimer(bool accept)
        {
            Answered(Exports.kavro_broker_send_accept_disclaimer(handle, (byte)(accept ? 1 : 0)));
        }

        /// <summary>Answers <see cref="AuthMethod.Disclaimer"/>. Cancelling cancels the request.</summary>
        public Task SendAcceptDisclaimerAsync(bool accept, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendAcceptDisclaimer(accept), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.OAuth"/>.</summary>
        public void SendOAuthCode(string code)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_oauth_code(handle, lent.Text(code)));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.OAuth"/>. Cancelling cancels the request.</summary>
        public Task SendOAuthCodeAsync(string code, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendOAuthCode(code), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.SecurId"/>.</summary>
        public void SendSecurIdAuth(string userName, string passcode)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_securid_auth(handle, lent.Text(userName), lent.Text(passcode)));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.SecurId"/>. Cancelling cancels the request.</summary>
        public Task SendSecurIdAuthAsync(string userName, string passcode, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendSecurIdAuth(userName, passcode), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.SecurIdNextToken"/>.</summary>
        public void SendSecurIdToken(string token)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_securid_token(handle, lent.Text(token)));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.SecurIdNextToken"/>. Cancelling cancels the request.</summary>
        public Task SendSecurIdTokenAsync(string token, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendSecurIdToken(token), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.SecurIdNewPin"/>.</summary>
        public void SendSecurIdPinChange(string token, string newPin)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_send_securid_pinchange(handle, lent.Text(token), lent.Text(newPin), lent.Text(newPin)));
            }
        }

        /// <summary>Answers <see cref="AuthMethod.SecurIdNewPin"/>. Cancelling cancels the request.</summary>
        public Task SendSecurIdPinChangeAsync(string token, string newPin, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendSecurIdPinChange(token, newPin), cancellationToken);
        }

        /// <summary>Answers <see cref="AuthMethod.SecurIdWait"/>.</summary>
        public void SendSecurIdWait()
        {
            Answered(Exports.kavro_broker_send_securid_wait(handle));
        }

        /// <summary>Answers <see cref="AuthMethod.SecurIdWait"/>. Cancelling cancels the request.</summary>
        public Task SendSecurIdWaitAsync(CancellationToken cancellationToken = default)
        {
            return Ask(() => SendSecurIdWait(), cancellationToken);
        }

        /// <summary>Is for kinds of broker that ask about certificates.</summary>
        public void SendCertificateConfirmation(bool accept, byte[] first, byte[] second)
        {
            Answered(Exports.kavro_broker_send_certificate_confirmation(handle, (uint)(accept ? 1 : 0), first, second));
        }

        /// <summary>Is for kinds of broker that ask about certificates. Cancelling cancels the request.</summary>
        public Task SendCertificateConfirmationAsync(bool accept, byte[] first, byte[] second, CancellationToken cancellationToken = default)
        {
            return Ask(() => SendCertificateConfirmation(accept, first, second), cancellationToken);
        }

        /// <summary>The desktops that the user may have.</summary>
        public IReadOnlyList<Desktop> RequestDesktopList()
        {
            DesktopListHandle list;
            Answered(Exports.kavro_broker_request_desktop_list(handle, out list));
            using (list)
                return Readers.Read(list);
        }

        /// <summary>The desktops that the user may have. Cancelling cancels the request.</summary>
        public Task<IReadOnlyList<Desktop>> RequestDesktopListAsync(CancellationToken cancellationToken = default)
        {
            return Ask(() => RequestDesktopList(), cancellationToken);
        }

        /// <summary>Allocates a desktop. One that is still being made ready is <see cref="Result.ConnectDesktopPending"/>.</summary>
        public DesktopConnection ConnectToDesktop(string desktopId, IEnumerable<Variable> variables = null)
        {
            using (var lent = new Lent())
            {
                DesktopConnectionInfoHandle info;
                Answered(Exports.kavro_broker_connect_to_desktop(handle, lent.Text(desktopId), lent.Variables(variables), out info));
                using (info)
                    return Readers.Read(info);
            }
        }

        /// <summary>Allocates a desktop. One that is still being made ready is <see cref="Result.ConnectDesktopPending"/>. Cancelling cancels the request.</summary>
        public Task<DesktopConnection> ConnectToDesktopAsync(string desktopId, IEnumerable<Variable> variables = null, CancellationToken cancellationToken = default)
        {
            return Ask(() => ConnectToDesktop(desktopId, variables), cancellationToken);
        }

        /// <summary>Powers a desktop up or down. An operation that there is none of is <see cref="Result.InvalidParameter"/>, where the C function stops the process.</summary>
        public void PerformDesktopOperation(string desktopId, Operation operation)
        {
            using (var lent = new Lent())
            {
                Answered(Exports.kavro_broker_perform_desktop_operation(handle, lent.Text(desktopId), Call.Known(operation)));
            }
        }

        /// <summary>Powers a desktop up or down. An operation that there is none of is <see cref="Result.InvalidParameter"/>, where the C function stops the process. Cancelling cancels the request.</summary>
        public Task PerformDesktopOperationAsync(string desktopId, Operation operation, CancellationToken cancellationToken = default)
        {
            return Ask(() => PerformDesktopOperation(desktopId, operation), cancellationToken);
        }

        /// <summary>Logs out.</summary>
        public void ClearSession()
        {
            Answered(Exports.kavro_broker_clear_session(handle));
        }

        /// <summary>Logs out. Cancelling cancels the request.</summary>
        public Task ClearSessionAsync(CancellationToken cancellationToken = default)
        {
            return Ask(() => ClearSession(), cancellationToken);
        }

        /// <summary>What the broker said of the last request that failed.</summary>
        public string GetBrokerErrorMessage()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_broker_error_message(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>What became of the last request, as a JSON text.</summary>
        public string GetRequestReport()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_request_report(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>What the broker said of itself.</summary>
        public BrokerInfo GetBrokerInfo()
        {
            var productName = new Room();
            var productVersion = new Room();
            var platform = new Room();
            Room.Fill(() => Exports.kavro_broker_get_broker_info(handle, productName.Buffer, ref productName.Size, productVersion.Buffer, ref productVersion.Size, platform.Buffer, ref platform.Size), productName, productVersion, platform);
            return new BrokerInfo
            {
                ProductName = productName.Text,
                ProductVersion = productVersion.Text,
                Platform = platform.Text,
            };
        }

        /// <summary>The address that the last connection was asked to go to, after a registration code was looked up.</summary>
        public string GetResolvedBrokerAddress()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_resolved_broker_address(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>Names and values of the broker's hello.</summary>
        public IReadOnlyList<Variable> GetHelloBrokerVariables()
        {
            return Call.Each(handle, Exports.kavro_broker_get_num_hello_broker_variables, Readers.ReadHelloBrokerVariable);
        }

        /// <summary>The domains that the user may choose from.</summary>
        public IReadOnlyList<string> GetAuthDomains()
        {
            return Call.Each(handle, Exports.kavro_broker_get_num_auth_domains, Readers.ReadAuthDomain);
        }

        /// <summary>Names and values that came with the log-in.</summary>
        public IReadOnlyList<Variable> GetAuthToClientVariables()
        {
            return Call.Each(handle, Exports.kavro_broker_get_num_auth_to_client_variables, Readers.ReadAuthToClientVariable);
        }

        /// <summary>What the user is to accept, after <see cref="AuthMethod.Disclaimer"/>.</summary>
        public string GetDisclaimerText()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_disclaimer_text(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>Why the broker's certificate was not accepted; empty when it was.</summary>
        public string GetCertificateErrorText()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_certificate_error_text(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>The text above the form of the log-in.</summary>
        private string GetAuthDialogPromptText()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_auth_dialog_prompt_text(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>What was wrong with the last entries of the form.</summary>
        private string GetAuthDialogErrorText()
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_auth_dialog_error_text(handle, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        /// <summary>The fields of the form.</summary>
        private IReadOnlyList<DialogField> GetAuthDialogFields()
        {
            return Call.Each(handle, Exports.kavro_broker_get_auth_dialog_get_num_fields, Readers.ReadAuthDialogField);
        }

        /// <summary>The buttons of the form.</summary>
        private IReadOnlyList<DialogButton> GetAuthDialogButtons()
        {
            return Call.Each(handle, Exports.kavro_broker_get_auth_dialog_get_num_buttons, Readers.ReadAuthDialogButton);
        }
    }

    public sealed partial class TypeFinder
    {
        /// <summary>What answers at an address.</summary>
        public BrokerType FindType(string address, string port = "")
        {
            using (var lent = new Lent())
            {
                uint typeCode;
                Call.Check(Exports.kavro_broker_find_type(handle, lent.Text(address), lent.Text(port), out typeCode));
                return (BrokerType)typeCode;
            }
        }

        /// <summary>What answers at an address. Cancelling cancels the request.</summary>
        public Task<BrokerType> FindTypeAsync(string address, string port = "", CancellationToken cancellationToken = default)
        {
            return Ask(() => FindType(address, port), cancellationToken);
        }

        /// <summary>Whether a search has run to its end.</summary>
        public bool Finished()
        {
            uint finished;
            Call.Check(Exports.kavro_broker_get_type(handle, out finished));
            return finished != 0;
        }
    }

    public static partial class BrokerLibrary
    {
        /// <summary>The library's name and version.</summary>
        public static string GetVersion()
        {
            return Call.Constant(Exports.kavro_broker_get_version());
        }

        /// <summary>The name of a result, as "KAVRO_BROKER_ERR_TIMEOUT".</summary>
        public static string ResultName(Result code)
        {
            return Call.Constant(Exports.kavro_broker_result_name((uint)code));
        }

        /// <summary>A sentence for a result.</summary>
        public static string ResultText(Result code)
        {
            return Call.Constant(Exports.kavro_broker_result_text((uint)code));
        }

        /// <summary>A text that a user typed, as it goes into a request.</summary>
        public static string EscapeText(string text)
        {
            using (var lent = new Lent())
            {
                var buffer = new Room();
                Room.Fill(() => Exports.kavro_broker_escape_text(lent.Text(text), buffer.Buffer, ref buffer.Size), buffer);
                return buffer.Text;
            }
        }

        /// <summary>Drops log messages of a higher severity from now on.</summary>
        public static void SetLogLevel(LogSeverity highestSeverity)
        {
            Exports.kavro_broker_set_log_level((int)highestSeverity);
            Call.Done();
        }

        /// <summary>The folder of the registration table's cache.</summary>
        public static void SetCacheFileLocation(string path)
        {
            using (var lent = new Lent())
            {
                Exports.kavro_broker_set_cache_file_location(lent.Text(path));
                Call.Done();
            }
        }
    }

    internal static partial class Readers
    {
        internal static Variable ReadHelloBrokerVariable(BrokerHandle owner, uint index)
        {
            var name = new Room();
            var value = new Room();
            Room.Fill(() => Exports.kavro_broker_get_hello_broker_variable(owner, index, name.Buffer, ref name.Size, value.Buffer, ref value.Size), name, value);
            return new Variable
            {
                Name = name.Text,
                Value = value.Text,
            };
        }

        internal static string ReadAuthDomain(BrokerHandle owner, uint index)
        {
            var buffer = new Room();
            Room.Fill(() => Exports.kavro_broker_get_auth_domain(owner, index, buffer.Buffer, ref buffer.Size), buffer);
            return buffer.Text;
        }

        internal static Variable ReadAuthToClientVariable(BrokerHandle owner, uint index)
        {
            var name = new Room();
            var value = new Room();
            Room.Fill(() => Exports.kavro_broker_get_auth_to_client_variable(owner, index, name.Buffer, ref name.Size, value.Buffer, ref value.Size), name, value);
            return new Variable
            {
                Name = name.Text,
                Value = value.Text,
            };
        }

        internal static DialogField ReadAuthDialogField(BrokerHandle owner, uint index)
        {
            var name = new Room();
            var label = new Room();
            var value = new Room();
            uint kind = 0;
            byte hidden = 0;
            byte loggable = 0;
            uint textType = 0;
            Room.Fill(() => Exports.kavro_broker_get_auth_dialog_field(owner, index, out kind, name.Buffer, ref name.Size, label.Buffer, ref label.Size, value.Buffer, ref value.Size, out hidden, out loggable, out textType), name, label, value);
            return new DialogField
            {
                Name = name.Text,
                Label = label.Text,
                Value = value.Text,
                ReadOnly = kind != 0,
                Hidden = hidden != 0,
                Loggable = loggable != 0,
                TextType = (TextType)textType,
            };
        }

        internal static DialogButton ReadAuthDialogButton(BrokerHandle owner, uint index)
        {
            var id = new Room();
            var label = new Room();
            byte isDefault = 0;
            Room.Fill(() => Exports.kavro_broker_get_auth_dialog_button(owner, index, id.Buffer, ref id.Size, label.Buffer, ref label.Size, out isDefault), id, label);
            return new DialogButton
            {
                Id = id.Text,
                Label = label.Text,
                IsDefault = isDefault != 0,
            };
        }

        internal static Desktop ReadDesktop(DesktopListHandle owner, uint index)
        {
            kavro_broker_desktop desktop;
            Call.Check(Exports.kavro_broker_get_desktop(owner, index, out desktop, Call.SizeOf<kavro_broker_desktop>()));
            return new Desktop
            {
                Name = Call.Copy(desktop.name),
                Id = Call.Copy(desktop.id),
                Type = Call.Copy(desktop.type),
                State = Call.Copy(desktop.state),
                Health = Call.Copy(desktop.health),
                Operations = Call.Bits(desktop.operations),
            };
        }

        internal static Variable ReadDesktopConnectionAgentVariable(DesktopConnectionInfoHandle owner, uint index)
        {
            var name = new Room();
            var value = new Room();
            Room.Fill(() => Exports.kavro_broker_get_desktop_connection_agent_variable(owner, index, name.Buffer, ref name.Size, value.Buffer, ref value.Size), name, value);
            return new Variable
            {
                Name = name.Text,
                Value = value.Text,
            };
        }

        internal static Target ReadDesktopConnectionAlternateTarget(DesktopConnectionInfoHandle owner, uint index)
        {
            var address = new Room();
            var hostName = new Room();
            var serverName = new Room();
            var port = new Room();
            Room.Fill(() => Exports.kavro_broker_get_desktop_connection_alternate_target(owner, index, address.Buffer, ref address.Size, hostName.Buffer, ref hostName.Size, serverName.Buffer, ref serverName.Size, port.Buffer, ref port.Size), address, hostName, serverName, port);
            return new Target
            {
                Address = address.Text,
                HostName = hostName.Text,
                ServerName = serverName.Text,
                Port = port.Text,
            };
        }

        internal static Variable ReadVariable(VariableListHandle owner, uint index)
        {
            var name = new Room();
            var value = new Room();
            Room.Fill(() => Exports.kavro_broker_get_variable(owner, index, name.Buffer, ref name.Size, value.Buffer, ref value.Size), name, value);
            return new Variable
            {
                Name = name.Text,
                Value = value.Text,
            };
        }
    }
}
