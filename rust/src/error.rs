use crate::{result_name, result_text, Code};
use std::fmt;

/// What a function gives that may fail.
pub type Result<T> = std::result::Result<T, Error>;

/// A result other than OK. It prints itself as a sentence, followed by the broker's own text.
#[derive(Clone, Debug, PartialEq, Eq)]
pub struct Error {
    code: Code,
    broker_text: String,
}

impl Error {
    /// The error of a code, with what the broker said, if anything.
    pub fn new(code: Code, broker_text: impl Into<String>) -> Self {
        let broker_text = broker_text.into();
        Error { code, broker_text }
    }

    /// The result.
    pub fn code(&self) -> Code {
        self.code
    }

    /// Its name in C.
    pub fn name(&self) -> String {
        result_name(self.code)
    }

    /// What the broker said of the request that failed; empty where it said nothing.
    pub fn broker_text(&self) -> &str {
        &self.broker_text
    }
}

impl fmt::Display for Error {
    fn fmt(&self, to: &mut fmt::Formatter<'_>) -> fmt::Result {
        let text = format!("{} {}", result_text(self.code), self.broker_text);
        to.write_str(text.trim_end())
    }
}

impl std::error::Error for Error {}
