// Written by tools/bindings/generate.py; not to be edited.
pub(crate) mod calls;
pub(crate) mod constants;
pub(crate) mod exports;
pub(crate) mod records;
