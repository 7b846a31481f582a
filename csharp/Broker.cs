using System;
using System.Collections.Generic;

namespace KavroBroker
{
    /// <summary>One conversation with a broker. Requests block, or are awaited; <see cref="Cancel"/> may be
    /// called meanwhile on any thread.</summary>
    public sealed partial class Broker : Asking
    {
        private readonly BrokerHandle handle;

        /// <summary>A conversation with a broker of this type.</summary>
        public Broker(BrokerType type = BrokerType.Kavro)
        {
            Call.Check(Exports.kavro_broker_create((uint)type, out handle));
        }

        /// <inheritdoc/>
        public override void Cancel()
        {
            Exports.kavro_broker_cancel(handle);
            Call.Done();
        }

        /// <inheritdoc/>
        public override void Dispose() { handle.Dispose(); }

        /// <summary>The function gets the lines of this conversation; null leaves them to the process's
        /// again.</summary>
        public void SetMessageFunction(Action<LogMessage> function)
        {
            var deliver = function == null ? null : handle.Keep(Callbacks.Message(function));
            Call.Check(Exports.kavro_broker_set_message_function(handle, deliver, IntPtr.Zero));
        }

        /// <summary>The function gives the signature of a digest, or null when it cannot be made.</summary>
        public void UseSigningCertificate(byte[] der, Func<byte[], byte[]> sign)
        {
            Call.Check(Exports.kavro_broker_use_signing_certificate(
                handle, der, (UIntPtr)der.Length, handle.Keep(Callbacks.Signer(sign)), IntPtr.Zero));
        }

        /// <summary>One certificate in DER form, or several in PEM form, the client's own first. The function
        /// gives the signature, by a TLS SignatureScheme (RFC 8446 section 4.2.3), of a digest, or null when
        /// it cannot be made.</summary>
        public void UseSigningKey(byte[] certificates, Func<ushort, byte[], byte[]> sign)
        {
            Call.Check(Exports.kavro_broker_use_signing_key(handle, certificates, (UIntPtr)certificates.Length,
                handle.Keep(Callbacks.SchemeSigner(sign)), IntPtr.Zero));
        }

        /// <summary>The older form of <see cref="UseSigningCertificate"/>.</summary>
        public void SetClientCertificate(byte[] der, Func<byte[], byte[]> sign)
        {
            Call.Check(Exports.kavro_broker_set_client_certificate(
                handle, der, (UIntPtr)der.Length, handle.Keep(Callbacks.Signer(sign)), IntPtr.Zero));
        }

        /// <summary>The form that the broker wants filled in, after <see cref="AuthMethod.Dialog"/>.</summary>
        public Dialog GetAuthDialog()
        {
            return new Dialog {
                PromptText = GetAuthDialogPromptText(),
                ErrorText = GetAuthDialogErrorText(),
                Fields = GetAuthDialogFields(),
                Buttons = GetAuthDialogButtons(),
            };
        }

        /// <summary>The broker's chain, its own certificate first.</summary>
        public IReadOnlyList<Certificate> GetCertificates()
        {
            return Call.Each(handle, Exports.kavro_broker_get_num_certificates, Readers.ReadCertificate);
        }

        private void Answered(uint result)
        {
            Call.Done();
            if (result != (uint)Result.Ok)
                throw new BrokerException((Result)result, GetBrokerErrorMessage());
        }
    }

    /// <summary>Finds out what answers at an address.</summary>
    public sealed partial class TypeFinder : Asking
    {
        private readonly TypeFinderHandle handle;

        /// <summary>A finder that has found nothing yet.</summary>
        public TypeFinder() { Call.Check(Exports.kavro_broker_create_type_finder(out handle)); }

        /// <inheritdoc/>
        public override void Cancel()
        {
            Exports.kavro_broker_cancel_find_type(handle);
            Call.Done();
        }

        /// <inheritdoc/>
        public override void Dispose() { handle.Dispose(); }

        /// <summary>What answers at an address, and where it was found.</summary>
        public FoundType FindTypeExtended(string address, string port = "")
        {
            uint type;
            var foundAddress = new byte[2049];
            var foundPort = new byte[8];
            using (var lent = new Lent())
                Call.Check(Exports.kavro_broker_find_type_extended(
                    handle, lent.Text(address), lent.Text(port), out type, foundAddress,
                    (UIntPtr)foundAddress.Length, foundPort, (UIntPtr)foundPort.Length));
            return new FoundType {
                TypeCode = (BrokerType)type,
                Address = Call.Text(foundAddress),
                Port = Call.Text(foundPort),
            };
        }
    }
}
