//! Carries on one conversation in Rust: conversation ADDRESS PORT CERTIFICATE < words of calls > outcomes

use kavro_broker::*;
use std::io::BufRead;
use std::sync::{Arc, Mutex};
use std::thread;
use std::time::Duration;

/// What was told, in JSON.
trait Told {
    fn json(&self) -> String;
}

macro_rules! told {
    ($($kind:ty: $it:ident => $json:expr;)*) => {
        $(impl Told for $kind {
            fn json(&self) -> String {
                let $it = self;
                $json
            }
        })*
    };
}

fn list(items: &[&dyn Told]) -> String {
    format!(
        "[{}]",
        items.iter().map(|item| item.json()).collect::<Vec<_>>().join(",")
    )
}

macro_rules! record {
    ($record:ident, $($field:ident)*) => {
        format!("{{{}}}", [$(format!("{:?}:{}", stringify!($field).trim_start_matches("r#"), $record.$field.json())),*].join(","))
    };
}

told! {
    (): _it => "null".to_string();
    bool: it => it.to_string();
    usize: it => it.to_string();
    String: it => format!("{it:?}");
    Code: it => it.0.to_string();
    AuthMethod: it => it.0.to_string();
    BrokerType: it => it.0.to_string();
    Operation: it => it.0.to_string();
    TextType: it => it.0.to_string();
    Variable: it => list(&[&it.name, &it.value]);
    BrokerInfo: it => list(&[&it.product_name, &it.product_version, &it.platform]);
    Target: it => list(&[&it.address, &it.host_name, &it.server_name, &it.port]);
    GatewayTicket: it => list(&[&it.ticket, &it.creation, &it.expiry]);
    Certificate: it => format!("[{},{}]", !it.der.is_empty(), it.verdict.0);
    Desktop: it => record!(it, name id r#type state health operations);
    DesktopConnection: it => record!(it, target session_id connect_tag use_broker_address gateway_ticket
                                     agent_variables alternate_targets);
    DialogField: it => record!(it, name label value read_only hidden loggable text_type);
    DialogButton: it => record!(it, id label is_default);
    Dialog: it => record!(it, prompt_text error_text fields buttons);
}

impl<T: Told> Told for Vec<T> {
    fn json(&self) -> String {
        list(&self.iter().map(|item| item as &dyn Told).collect::<Vec<_>>())
    }
}

impl<T: Told> Told for Option<T> {
    fn json(&self) -> String {
        self.as_ref().map_or("null".to_string(), Told::json)
    }
}

type Shared<T> = Arc<Mutex<Vec<T>>>;

struct Conversation {
    address: String,
    port: String,
    certificate: Vec<u8>,
    log: Shared<String>,
    own_log: Shared<String>,
    session_ids: Shared<String>,
    digests: Shared<usize>,
    broker: Broker,
}

fn begin(address: &str, port: &str, certificate: &str) -> Result<Conversation> {
    let (log, session_ids) = (Shared::default(), Shared::default());
    let (to_log, to_ids) = (Arc::clone(&log), Arc::clone(&session_ids));
    set_log_function(move |message| to_log.lock().unwrap().push(message.text.clone()));
    set_session_log_id_function(move |id| to_ids.lock().unwrap().push(id.to_string()));
    let mut broker = Broker::new(BrokerType::KAVRO)?;
    broker.set_broker_address(address, port)?;
    broker.set_client_info("languages", "1.0", "test")?;
    Ok(Conversation {
        address: address.to_string(),
        port: port.to_string(),
        certificate: std::fs::read(certificate).unwrap(),
        log,
        own_log: Shared::default(),
        session_ids,
        digests: Shared::default(),
        broker,
    })
}

fn has(lines: &Shared<String>, text: &str) -> bool {
    lines.lock().unwrap().iter().any(|line| line.contains(text))
}

fn found_type(address: &str, port: &str) -> Result<String> {
    let mut finder = TypeFinder::new()?;
    let before = finder.finished()?;
    let found = finder.find_type_extended(address, port)?;
    let again = finder.find_type(address, port)?;
    let same_port = found.port == port;
    Ok(list(&[
        &again,
        &found.type_code,
        &found.address,
        &same_port,
        &before,
        &finder.finished()?,
    ]))
}

fn cancelled(c: &mut Conversation, words: &[&str]) -> Result<String> {
    let canceller = c.broker.canceller();
    thread::scope(|scope| {
        let request = scope.spawn(|| call(c, words));
        while !request.is_finished() {
            canceller.cancel();
            thread::yield_now();
        }
        request.join().unwrap()
    })
}

/// A duration cannot be negative: the longest is as wrong.
fn seconds(word: &str) -> Duration {
    word.parse().map_or(Duration::MAX, Duration::from_secs)
}

fn call(c: &mut Conversation, words: &[&str]) -> Result<String> {
    let text = |index: usize| words[index + 1];
    let number = |index: usize| words[index + 1].parse::<u32>().unwrap();
    let yes = words.get(1) == Some(&"true");
    let pairs = |begin: usize| {
        words[begin + 1..]
            .chunks(2)
            .map(|pair| (pair[0], pair[1]))
            .collect::<Vec<_>>()
    };
    let (digests, own_log, length) = (
        c.digests.clone(),
        c.own_log.clone(),
        words.last().unwrap().parse().unwrap_or(0),
    );
    let broker = &mut c.broker;
    Ok(match words[0] {
        "trust" => broker.add_trust_anchor(&c.certificate)?.json(),
        "sign_with_zeros" => broker
            .use_signing_certificate(&c.certificate, move |digest| {
                digests.lock().unwrap().push(digest.len());
                Some(vec![0; length])
            })?
            .json(),
        "sign_by_scheme_with_zeros" => broker
            .use_signing_key(&c.certificate, move |scheme, _| {
                digests.lock().unwrap().push(scheme.into());
                Some(vec![0; length])
            })?
            .json(),
        "digest_lengths" => c.digests.lock().unwrap().json(),
        "reported_result" => {
            let report = broker.request_report()?;
            let result = &report[report.find("\"result\"").unwrap()..];
            result
                .split('"')
                .nth(result.split('"').position(|word| word == "name").unwrap() + 2)
                .unwrap()
                .to_string()
                .json()
        }
        "find_type" => found_type(&c.address, &c.port)?,
        "variable_list" => {
            let copied = VariableList::new(&pairs(0))?;
            (0..copied.len())
                .map(|index| copied.get(index))
                .collect::<Result<Vec<_>>>()?
                .json()
        }
        "logged" => has(&c.log, text(0)).json(),
        "heard" => has(&c.own_log, text(0)).json(),
        "listen" => broker
            .set_message_function(move |message| own_log.lock().unwrap().push(message.text.clone()))?
            .json(),
        "do_not_listen" => broker.clear_message_function()?.json(),
        "session_ids_told" => c.session_ids.lock().unwrap().len().json(),
        "cancelled" => cancelled(c, &words[1..])?,
        "set_log_level" => set_log_level(LogSeverity(number(0))).json(),
        "escape_text" => escape_text(text(0))?.json(),
        "result_name" => result_name(Code(number(0))).json(),
        "keep_connection" => broker.keep_connection(seconds(text(0)))?.json(),
        "set_time_limit" => broker
            .set_time_limit(TimeLimit(number(0)), seconds(text(1)))?
            .json(),
        "set_broker_address" => broker.set_broker_address(text(0), text(1))?.json(),
        "set_hello_client_variables" => broker.set_hello_client_variables(&pairs(0))?.json(),
        "enable_oauth" => broker.enable_oauth(yes)?.json(),
        "auth_method" => broker.auth_method()?.json(),
        "send_accept_disclaimer" => broker.send_accept_disclaimer(yes)?.json(),
        "send_password" => broker.send_password(text(0), text(1), text(2))?.json(),
        "send_new_password" => broker
            .send_new_password(text(0), text(1), text(2), text(3))?
            .json(),
        "send_auth_dialog" => broker.send_auth_dialog(text(0), &pairs(1))?.json(),
        "send_oauth_code" => broker.send_oauth_code(text(0))?.json(),
        "send_securid_wait" => broker.send_securid_wait()?.json(),
        "perform_desktop_operation" => broker
            .perform_desktop_operation(text(0), Operation(number(1)))?
            .json(),
        "clear_session" => broker.clear_session()?.json(),
        "request_desktop_list" => broker.request_desktop_list()?.json(),
        "connect_to_desktop" => broker.connect_to_desktop(text(0), &pairs(1))?.json(),
        "broker_error_message" => broker.broker_error_message()?.json(),
        "broker_info" => broker.broker_info()?.json(),
        "hello_broker_variables" => broker.hello_broker_variables()?.json(),
        "auth_domains" => broker.auth_domains()?.json(),
        "auth_to_client_variables" => broker.auth_to_client_variables()?.json(),
        "auth_dialog" => broker.auth_dialog()?.json(),
        "disclaimer_text" => broker.disclaimer_text()?.json(),
        "certificates" => broker.certificates()?.json(),
        "certificate_error_text" => broker.certificate_error_text()?.json(),
        other => panic!("what is {other}?"),
    })
}

fn main() -> Result<()> {
    let arguments: Vec<String> = std::env::args().collect();
    let mut conversation = begin(&arguments[1], &arguments[2], &arguments[3])?;
    for line in std::io::stdin().lock().lines() {
        let words = line.unwrap();
        let outcome = call(&mut conversation, &words.split('\t').collect::<Vec<_>>());
        println!(
            "{}",
            outcome.unwrap_or_else(|error| {
                format!(
                    "{{\"error\":[{},{:?},{:?}]}}",
                    error.code().0,
                    error.name(),
                    error.broker_text()
                )
            })
        );
    }
    Ok(())
}
