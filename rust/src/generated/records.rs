// Written by tools/bindings/generate.py; not to be edited.
use super::constants::*;
use std::fmt;

/// A name and a value, which only the two programs that exchange them understand.
#[derive(Clone, PartialEq, Eq)]
#[non_exhaustive]
pub struct Variable {
    /// The name.
    pub name: String,
    /// The value.
    pub value: String,
}

impl fmt::Debug for Variable {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        to.debug_struct("Variable").field("name", &self.name).finish_non_exhaustive()
    }
}

/// What the broker said of itself in its hello.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct BrokerInfo {
    /// Its name.
    pub product_name: String,
    /// Its version.
    pub product_version: String,
    /// What it runs on.
    pub platform: String,
}

/// Where a desktop is.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct Target {
    /// An address, or a name.
    pub address: String,
    /// Its name.
    pub host_name: String,
    /// The name that its certificate is for.
    pub server_name: String,
    /// A decimal number.
    pub port: String,
}

/// What opens the gateway, and when it was made and ends.
#[derive(Clone, PartialEq, Eq)]
#[non_exhaustive]
pub struct GatewayTicket {
    /// The ticket itself.
    pub ticket: String,
    /// When it was made, in the broker's words.
    pub creation: String,
    /// When it ends, in the broker's words.
    pub expiry: String,
}

impl fmt::Debug for GatewayTicket {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        to.debug_struct("GatewayTicket").field("creation", &self.creation).field("expiry", &self.expiry).finish_non_exhaustive()
    }
}

/// A desktop that the user may have.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct Desktop {
    /// To be shown.
    pub name: String,
    /// To be asked for.
    pub id: String,
    /// In the broker's words.
    pub r#type: String,
    /// In the broker's words.
    pub state: String,
    /// In the broker's words.
    pub health: String,
    /// Those that it offers.
    pub operations: Vec<Operation>,
}

/// A desktop that was allocated, and what opens it.
#[derive(Clone, PartialEq, Eq)]
#[non_exhaustive]
pub struct DesktopConnection {
    /// Where it is.
    pub target: Target,
    /// The session that it belongs to.
    pub session_id: String,
    /// What the target lets the client in for.
    pub connect_tag: String,
    /// Whether the broker's address is to be used.
    pub use_broker_address: bool,
    /// What opens the gateway, if there is one.
    pub gateway_ticket: Option<GatewayTicket>,
    /// What the desktop's agent wants to know.
    pub agent_variables: Vec<Variable>,
    /// Where it is as well.
    pub alternate_targets: Vec<Target>,
}

impl fmt::Debug for DesktopConnection {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        to.debug_struct("DesktopConnection").field("target", &self.target).field("session_id", &self.session_id).field("use_broker_address", &self.use_broker_address).field("gateway_ticket", &self.gateway_ticket).field("agent_variables", &self.agent_variables).field("alternate_targets", &self.alternate_targets).finish_non_exhaustive()
    }
}

/// A field of a log-in form.
#[derive(Clone, PartialEq, Eq)]
#[non_exhaustive]
pub struct DialogField {
    /// What the broker calls it.
    pub name: String,
    /// To be shown.
    pub label: String,
    /// What stands in it.
    pub value: String,
    /// Whether it is to be shown only.
    pub read_only: bool,
    /// Whether what is typed is not to be shown.
    pub hidden: bool,
    /// Whether what is typed may stand in a log.
    pub loggable: bool,
    /// What is typed; a hint for the keyboard to show.
    pub text_type: TextType,
}

impl fmt::Debug for DialogField {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        to.debug_struct("DialogField").field("name", &self.name).field("label", &self.label).field("read_only", &self.read_only).field("hidden", &self.hidden).field("loggable", &self.loggable).field("text_type", &self.text_type).finish_non_exhaustive()
    }
}

/// A button of a log-in form.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct DialogButton {
    /// What the broker calls it.
    pub id: String,
    /// To be shown.
    pub label: String,
    /// Whether it is the one for the return key.
    pub is_default: bool,
}

/// A log-in form.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct Dialog {
    /// To be shown above it.
    pub prompt_text: String,
    /// What was wrong with the last entries.
    pub error_text: String,
    /// From top to bottom.
    pub fields: Vec<DialogField>,
    /// From left to right.
    pub buttons: Vec<DialogButton>,
}

/// A certificate of the broker's chain, and what was wrong with it.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct Certificate {
    /// Empty when the broker did not show it.
    pub der: Vec<u8>,
    /// What was wrong with it.
    pub verdict: CertificateVerdict,
}

/// What answers at an address.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct FoundType {
    /// What it is.
    pub type_code: BrokerType,
    /// What a registration code stands for; else empty.
    pub address: String,
    /// The one that answered.
    pub port: String,
}

/// A line of the log.
#[derive(Clone, Debug, PartialEq, Eq)]
#[non_exhaustive]
pub struct LogMessage {
    /// What it is about.
    pub category: LogCategory,
    /// How grave it is.
    pub severity: LogSeverity,
    /// A number of the system's where there is one.
    pub error: i32,
    /// The line itself.
    pub text: String,
}
