// Written by tools/bindings/generate.py; not to be edited.
using System.Collections.Generic;

namespace KavroBroker
{
    /// <summary>A name and a value, which only the two programs that exchange them understand.</summary>
    public sealed partial class Variable
    {
        /// <summary>The name.</summary>
        public string Name { get; internal set; }
        /// <summary>The value.</summary>
        public string Value { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("Variable", Printed.Of("Name", Name)); }
    }

    /// <summary>What the broker said of itself in its hello.</summary>
    public sealed partial class BrokerInfo
    {
        /// <summary>Its name.</summary>
        public string ProductName { get; internal set; }
        /// <summary>Its version.</summary>
        public string ProductVersion { get; internal set; }
        /// <summary>What it runs on.</summary>
        public string Platform { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("BrokerInfo", Printed.Of("ProductName", ProductName), Printed.Of("ProductVersion", ProductVersion), Printed.Of("Platform", Platform)); }
    }

    /// <summary>Where a desktop is.</summary>
    public sealed partial class Target
    {
        /// <summary>An address, or a name.</summary>
        public string Address { get; internal set; }
        /// <summary>Its name.</summary>
        public string HostName { get; internal set; }
        /// <summary>The name that its certificate is for.</summary>
        public string ServerName { get; internal set; }
        /// <summary>A decimal number.</summary>
        public string Port { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("Target", Printed.Of("Address", Address), Printed.Of("HostName", HostName), Printed.Of("ServerName", ServerName), Printed.Of("Port", Port)); }
    }

    /// <summary>What opens the gateway, and when it was made and ends.</summary>
    public sealed partial class GatewayTicket
    {
        /// <summary>The ticket itself.</summary>
        public string Ticket { get; internal set; }
        /// <summary>When it was made, in the broker's words.</summary>
        public string Creation { get; internal set; }
        /// <summary>When it ends, in the broker's words.</summary>
        public string Expiry { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("GatewayTicket", Printed.Of("Creation", Creation), Printed.Of("Expiry", Expiry)); }
    }

    /// <summary>A desktop that the user may have.</summary>
    public sealed partial class Desktop
    {
        /// <summary>To be shown.</summary>
        public string Name { get; internal set; }
        /// <summary>To be asked for.</summary>
        public string Id { get; internal set; }
        /// <summary>In the broker's words.</summary>
        public string Type { get; internal set; }
        /// <summary>In the broker's words.</summary>
        public string State { get; internal set; }
        /// <summary>In the broker's words.</summary>
        public string Health { get; internal set; }
        /// <summary>Those that it offers.</summary>
        public IReadOnlyList<Operation> Operations { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("Desktop", Printed.Of("Name", Name), Printed.Of("Id", Id), Printed.Of("Type", Type), Printed.Of("State", State), Printed.Of("Health", Health), Printed.Of("Operations", Operations)); }
    }

    /// <summary>A desktop that was allocated, and what opens it.</summary>
    public sealed partial class DesktopConnection
    {
        /// <summary>Where it is.</summary>
        public Target Target { get; internal set; }
        /// <summary>The session that it belongs to.</summary>
        public string SessionId { get; internal set; }
        /// <summary>What the target lets the client in for.</summary>
        public string ConnectTag { get; internal set; }
        /// <summary>Whether the broker's address is to be used.</summary>
        public bool UseBrokerAddress { get; internal set; }
        /// <summary>What opens the gateway, if there is one.</summary>
        public GatewayTicket GatewayTicket { get; internal set; }
        /// <summary>What the desktop's agent wants to know.</summary>
        public IReadOnlyList<Variable> AgentVariables { get; internal set; }
        /// <summary>Where it is as well.</summary>
        public IReadOnlyList<Target> AlternateTargets { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("DesktopConnection", Printed.Of("Target", Target), Printed.Of("SessionId", SessionId), Printed.Of("UseBrokerAddress", UseBrokerAddress), Printed.Of("GatewayTicket", GatewayTicket), Printed.Of("AgentVariables", AgentVariables), Printed.Of("AlternateTargets", AlternateTargets)); }
    }

    /// <summary>A field of a log-in form.</summary>
    public sealed partial class DialogField
    {
        /// <summary>What the broker calls it.</summary>
        public string Name { get; internal set; }
        /// <summary>To be shown.</summary>
        public string Label { get; internal set; }
        /// <summary>What stands in it.</summary>
        public string Value { get; internal set; }
        /// <summary>Whether it is to be shown only.</summary>
        public bool ReadOnly { get; internal set; }
        /// <summary>Whether what is typed is not to be shown.</summary>
        public bool Hidden { get; internal set; }
        /// <summary>Whether what is typed may stand in a log.</summary>
        public bool Loggable { get; internal set; }
        /// <summary>What is typed; a hint for the keyboard to show.</summary>
        public TextType TextType { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("DialogField", Printed.Of("Name", Name), Printed.Of("Label", Label), Printed.Of("ReadOnly", ReadOnly), Printed.Of("Hidden", Hidden), Printed.Of("Loggable", Loggable), Printed.Of("TextType", TextType)); }
    }

    /// <summary>A button of a log-in form.</summary>
    public sealed partial class DialogButton
    {
        /// <summary>What the broker calls it.</summary>
        public string Id { get; internal set; }
        /// <summary>To be shown.</summary>
        public string Label { get; internal set; }
        /// <summary>Whether it is the one for the return key.</summary>
        public bool IsDefault { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("DialogButton", Printed.Of("Id", Id), Printed.Of("Label", Label), Printed.Of("IsDefault", IsDefault)); }
    }

    /// <summary>A log-in form.</summary>
    public sealed partial class Dialog
    {
        /// <summary>To be shown above it.</summary>
        public string PromptText { get; internal set; }
        /// <summary>What was wrong with the last entries.</summary>
        public string ErrorText { get; internal set; }
        /// <summary>From top to bottom.</summary>
        public IReadOnlyList<DialogField> Fields { get; internal set; }
        /// <summary>From left to right.</summary>
        public IReadOnlyList<DialogButton> Buttons { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("Dialog", Printed.Of("PromptText", PromptText), Printed.Of("ErrorText", ErrorText), Printed.Of("Fields", Fields), Printed.Of("Buttons", Buttons)); }
    }

    /// <summary>A certificate of the broker's chain, and what was wrong with it.</summary>
    public sealed partial class Certificate
    {
        /// <summary>Empty when the broker did not show it.</summary>
        public byte[] Der { get; internal set; }
        /// <summary>What was wrong with it.</summary>
        public CertificateVerdict Verdict { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("Certificate", Printed.Of("Der", Der), Printed.Of("Verdict", Verdict)); }
    }

    /// <summary>What answers at an address.</summary>
    public sealed partial class FoundType
    {
        /// <summary>What it is.</summary>
        public BrokerType TypeCode { get; internal set; }
        /// <summary>What a registration code stands for; else empty.</summary>
        public string Address { get; internal set; }
        /// <summary>The one that answered.</summary>
        public string Port { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("FoundType", Printed.Of("TypeCode", TypeCode), Printed.Of("Address", Address), Printed.Of("Port", Port)); }
    }

    /// <summary>A line of the log.</summary>
    public sealed partial class LogMessage
    {
        /// <summary>What it is about.</summary>
        public LogCategory Category { get; internal set; }
        /// <summary>How grave it is.</summary>
        public LogSeverity Severity { get; internal set; }
        /// <summary>A number of the system's where there is one.</summary>
        public int Error { get; internal set; }
        /// <summary>The line itself.</summary>
        public string Text { get; internal set; }

        /// <summary>Without what may be secret.</summary>
        public override string ToString() { return Printed.Record("LogMessage", Printed.Of("Category", Category), Printed.Of("Severity", Severity), Printed.Of("Error", Error), Printed.Of("Text", Text)); }
    }
}
