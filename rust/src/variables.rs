use crate::call::{check, Owned, Text};
use crate::generated::calls::read_variable;
use crate::generated::exports::{self, kavro_broker_name_value};
use crate::{Result, Variable};
use std::os::raw::c_void;
use std::ptr::null_mut;

/// Names and values as the library holds them.
pub struct VariableList {
    // Null where there are none, which is how the library takes "no variables".
    owned: Owned,
    len: u32,
}

impl VariableList {
    /// A copy of these.
    pub fn new(variables: &[(&str, &str)]) -> Result<Self> {
        let (free, len) = (exports::kavro_broker_free_variable_list, variables.len() as u32);
        if variables.is_empty() {
            let owned = Owned::new(null_mut(), free);
            return Ok(VariableList { owned, len });
        }
        let create = |list| unsafe { exports::kavro_broker_create_variable_list(len, list) };
        let owned = Owned::made(create, free)?;
        for (index, (name, value)) in (0..).zip(variables) {
            let (name, value) = (Text::new(name)?, Text::new(value)?);
            check(unsafe {
                exports::kavro_broker_set_variable(owned.handle, index, name.as_ptr(), value.as_ptr())
            })?;
        }
        Ok(VariableList { owned, len })
    }

    /// How many there are.
    pub fn len(&self) -> u32 {
        self.len
    }

    /// Whether there are none.
    pub fn is_empty(&self) -> bool {
        self.len == 0
    }

    /// One of them.
    pub fn get(&self, index: u32) -> Result<Variable> {
        read_variable(self.handle(), index)
    }

    pub(crate) fn handle(&self) -> *mut c_void {
        self.owned.handle
    }
}

/// Names and values on their way into one call.
pub(crate) struct Fields {
    pairs: Vec<kavro_broker_name_value>,
    _texts: Vec<Text>,
}

impl Fields {
    pub fn new(given: &[(&str, &str)]) -> Result<Self> {
        let (mut pairs, mut texts) = (Vec::new(), Vec::new());
        for (name, value) in given {
            let (name, value) = (Text::new(name)?, Text::new(value)?);
            pairs.push(kavro_broker_name_value {
                name: name.as_ptr(),
                value: value.as_ptr(),
            });
            texts.extend([name, value]);
        }
        Ok(Fields { pairs, _texts: texts })
    }

    pub fn as_ptr(&self) -> *const kavro_broker_name_value {
        self.pairs.as_ptr()
    }

    pub fn len(&self) -> u32 {
        self.pairs.len() as u32
    }
}
