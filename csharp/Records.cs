using System;
using System.Collections;
using System.Collections.Generic;
using System.Linq;

namespace KavroBroker
{
    public sealed partial class Variable
    {
        internal Variable() { }

        /// <summary>A name and its value.</summary>
        public Variable(string name, string value)
        {
            Name = name;
            Value = value;
        }
    }

    public sealed partial class LogMessage
    {
        internal LogMessage(int category, int severity, int error, string text)
        {
            Category = (LogCategory)category;
            Severity = (LogSeverity)severity;
            Error = error;
            Text = text;
        }
    }

    /// <summary>Names and values as the library holds them.</summary>
    public sealed class VariableList : IReadOnlyList<Variable>, IDisposable
    {
        // Null where there are none, which is how the library takes "no variables".
        internal readonly VariableListHandle Handle = new VariableListHandle();

        /// <summary>A copy of these.</summary>
        public VariableList(IEnumerable<Variable> variables)
        {
            var given = variables.ToList();
            Count = given.Count;
            if (Count != 0)
                Call.Check(Exports.kavro_broker_create_variable_list((uint)Count, out Handle));
            for (var index = 0; index < Count; ++index)
                using (var lent = new Lent())
                    Call.Check(Exports.kavro_broker_set_variable(
                        Handle, (uint)index, lent.Text(given[index].Name), lent.Text(given[index].Value)));
        }

        /// <summary>How many there are.</summary>
        public int Count { get; private set; }

        /// <summary>One of them.</summary>
        public Variable this[int index] { get { return Readers.ReadVariable(Handle, (uint)index); } }

        /// <inheritdoc/>
        public IEnumerator<Variable> GetEnumerator()
        {
            return Enumerable.Range(0, Count).Select(index => this[index]).GetEnumerator();
        }

        IEnumerator IEnumerable.GetEnumerator() { return GetEnumerator(); }

        /// <summary>Frees the copy.</summary>
        public void Dispose() { Handle.Dispose(); }
    }

    internal static partial class Readers
    {
        internal static IReadOnlyList<Desktop> Read(DesktopListHandle list)
        {
            return Call.Each(list, Exports.kavro_broker_get_num_desktops, ReadDesktop);
        }

        internal static DesktopConnection Read(DesktopConnectionInfoHandle info)
        {
            kavro_broker_desktop_connection lent;
            Call.Check(Exports.kavro_broker_get_desktop_connection(
                info, out lent, Call.SizeOf<kavro_broker_desktop_connection>()));
            return new DesktopConnection {
                Target = new Target {
                    Address = Call.Copy(lent.address),
                    HostName = Call.Copy(lent.host_name),
                    ServerName = Call.Copy(lent.server_name),
                    Port = Call.Copy(lent.port),
                },
                SessionId = Call.Copy(lent.session_id),
                ConnectTag = Call.Copy(lent.connect_tag),
                UseBrokerAddress = lent.use_broker_address != 0,
                GatewayTicket = HasGatewayTicket(info) ? ReadGatewayTicket(lent) : null,
                AgentVariables = Call.Each(
                    info, Exports.kavro_broker_get_num_desktop_connection_agent_variables,
                    ReadDesktopConnectionAgentVariable),
                AlternateTargets = Call.Each(
                    info, Exports.kavro_broker_get_num_desktop_connection_alternate_targets,
                    ReadDesktopConnectionAlternateTarget),
            };
        }

        /// <summary>An empty ticket is one.</summary>
        private static bool HasGatewayTicket(DesktopConnectionInfoHandle info)
        {
            var size = UIntPtr.Zero;
            return Exports.kavro_broker_get_desktop_connection_property(
                info, (uint)ConnectionProperty.GatewayTicket, null, ref size) != (uint)Result.NotAvailable;
        }

        private static GatewayTicket ReadGatewayTicket(kavro_broker_desktop_connection lent)
        {
            return new GatewayTicket {
                Ticket = Call.Copy(lent.gateway_ticket),
                Creation = Call.Copy(lent.gateway_ticket_created),
                Expiry = Call.Copy(lent.gateway_ticket_expires),
            };
        }

        internal static Certificate ReadCertificate(BrokerHandle owner, uint index)
        {
            uint verdict;
            var size = UIntPtr.Zero;
            var der = new byte[0];
            if (Exports.kavro_broker_get_broker_certificate(owner, index, null, ref size) == (uint)Result.Ok)
            {
                der = new byte[(int)size];
                Call.Check(Exports.kavro_broker_get_broker_certificate(owner, index, der, ref size));
            }
            Exports.kavro_broker_get_certificate_error(owner, index, out verdict); // none after a success
            return new Certificate { Der = der, Verdict = (CertificateVerdict)verdict };
        }
    }

    /// <summary>What ToString() makes of a record.</summary>
    internal static class Printed
    {
        internal static string Record(string name, params string[] fields)
        {
            return $"{name} {{ {string.Join(", ", fields)} }}";
        }

        internal static string Of(string name, object value)
        {
            var list = value as IEnumerable;
            return list == null || value is string
                ? $"{name} = {value}"
                : $"{name} = [{string.Join(", ", list.Cast<object>())}]";
        }
    }
}
