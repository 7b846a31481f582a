//! Records that are made of several answers.

use crate::call::{check, copy, read_each, Owned};
use crate::generated::calls::{
    read_desktop, read_desktop_connection_agent_variable, read_desktop_connection_alternate_target,
};
use crate::generated::exports::{self, kavro_broker_desktop_connection};
use crate::{
    Certificate, CertificateVerdict, Code, ConnectionProperty, Desktop, DesktopConnection, GatewayTicket,
    Result, Target,
};
use std::mem::{size_of, zeroed};
use std::os::raw::c_void;
use std::ptr::null_mut;

pub(crate) fn read_desktop_list(list: &Owned) -> Result<Vec<Desktop>> {
    read_each(list.handle, exports::kavro_broker_get_num_desktops, read_desktop)
}

pub(crate) fn read_desktop_connection_info(info: &Owned) -> Result<DesktopConnection> {
    let mut lent: kavro_broker_desktop_connection = unsafe { zeroed() };
    check(unsafe {
        exports::kavro_broker_get_desktop_connection(
            info.handle,
            &mut lent,
            size_of::<kavro_broker_desktop_connection>(),
        )
    })?;
    Ok(DesktopConnection {
        target: Target {
            address: copy(&lent.address),
            host_name: copy(&lent.host_name),
            server_name: copy(&lent.server_name),
            port: copy(&lent.port),
        },
        session_id: copy(&lent.session_id),
        connect_tag: copy(&lent.connect_tag),
        use_broker_address: lent.use_broker_address != 0,
        gateway_ticket: has_gateway_ticket(info).then(|| GatewayTicket {
            ticket: copy(&lent.gateway_ticket),
            creation: copy(&lent.gateway_ticket_created),
            expiry: copy(&lent.gateway_ticket_expires),
        }),
        agent_variables: read_each(
            info.handle,
            exports::kavro_broker_get_num_desktop_connection_agent_variables,
            read_desktop_connection_agent_variable,
        )?,
        alternate_targets: read_each(
            info.handle,
            exports::kavro_broker_get_num_desktop_connection_alternate_targets,
            read_desktop_connection_alternate_target,
        )?,
    })
}

/// An empty ticket is one.
fn has_gateway_ticket(info: &Owned) -> bool {
    let (property, mut size) = (ConnectionProperty::GATEWAY_TICKET.0, 0);
    let result = unsafe {
        exports::kavro_broker_get_desktop_connection_property(info.handle, property, null_mut(), &mut size)
    };
    Code(result) != Code::NOT_AVAILABLE
}

pub(crate) fn read_certificate(owner: *mut c_void, index: u32) -> Result<Certificate> {
    let (mut size, mut verdict, mut der) = (0, 0, Vec::new());
    let read = |der: *mut u8, size: &mut usize| unsafe {
        exports::kavro_broker_get_broker_certificate(owner, index, der, size)
    };
    if Code(read(null_mut(), &mut size)) == Code::OK {
        der = vec![0; size];
        check(read(der.as_mut_ptr(), &mut size))?;
    }
    // There is none after a success.
    unsafe { exports::kavro_broker_get_certificate_error(owner, index, &mut verdict) };
    let verdict = CertificateVerdict(verdict);
    Ok(Certificate { der, verdict })
}
