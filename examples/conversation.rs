//! A whole conversation with a broker in Rust: log in with a password, list the desktops, ask for the first
//! one, log out.
//!
//!     conversation ADDRESS PORT USER DOMAIN < file with the password

use kavro_broker::{
    escape_text, set_log_function, AuthMethod, Broker, BrokerType, Code, Error, LogSeverity, Result,
};
use std::time::Duration;

/// Answers what the broker asks for, until it asks for nothing more.
fn log_in(broker: &mut Broker, user: &str, domain: &str, password: &str) -> Result<()> {
    let (user, domain, password) = (
        escape_text(user)?,
        escape_text(domain)?,
        escape_text(password)?,
    );
    loop {
        match broker.auth_method()? {
            AuthMethod::NONE => return Ok(()),
            AuthMethod::DISCLAIMER => broker.send_accept_disclaimer(true)?,
            AuthMethod::PASSWORD => broker.send_password(&user, &domain, &password)?,
            _ => return Err(Error::new(Code::NOT_IMPLEMENTED, "")),
        }
    }
}

fn show_target(broker: &mut Broker, desktop_id: &str) -> Result<()> {
    match broker.connect_to_desktop(desktop_id, &[]) {
        Ok(connection) => {
            let target = connection.target;
            println!(
                "{desktop_id} waits at {}, port {}",
                target.address, target.port
            );
        }
        Err(error) if error.code() == Code::CONNECT_DESKTOP_PENDING => {
            println!("{desktop_id} is being made ready; ask again later");
        }
        Err(error) => return Err(error),
    }
    Ok(())
}

fn converse(arguments: &[String], password: &str) -> Result<()> {
    set_log_function(|message| {
        if message.severity == LogSeverity::ERROR {
            eprintln!("log: {}", message.text);
        }
    });
    let mut broker = Broker::new(BrokerType::KAVRO)?;
    broker.set_broker_address(&arguments[0], &arguments[1])?;
    broker.set_client_info("conversation", "1.0", "Rust")?;
    broker.keep_connection(Duration::from_secs(60))?;

    log_in(&mut broker, &arguments[2], &arguments[3], password)?;
    let desktops = broker.request_desktop_list()?;
    for (index, desktop) in desktops.iter().enumerate() {
        println!("desktop {index}: {}", desktop.name);
    }
    if let Some(first) = desktops.first() {
        show_target(&mut broker, &first.id)?;
    }
    broker.clear_session()
}

fn main() {
    let arguments: Vec<String> = std::env::args().skip(1).collect();
    let mut password = String::new();
    if arguments.len() != 4 || std::io::stdin().read_line(&mut password).is_err() {
        eprintln!("usage: conversation ADDRESS PORT USER DOMAIN < PASSWORD-FILE");
        std::process::exit(2);
    }
    if let Err(error) = converse(&arguments, password.trim_end_matches('\n')) {
        eprintln!("conversation: {}: {error}", error.name());
        std::process::exit(1);
    }
}
