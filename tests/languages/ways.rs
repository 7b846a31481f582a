//! What the table of conversations cannot say of the crate: panics of callbacks, cancels from other threads, and
//! what prints itself. With a broker that takes connections and is silent then.

use kavro_broker::{set_log_function, Broker, BrokerType, Code, VariableList};
use std::net::TcpListener;
use std::panic::{catch_unwind, AssertUnwindSafe};
use std::sync::Arc;
use std::thread;

fn asking(silent: &TcpListener) -> Broker {
    set_log_function(|_| {});
    let mut broker = Broker::new(BrokerType::KAVRO).unwrap();
    let port = silent.local_addr().unwrap().port().to_string();
    broker.set_broker_address("127.0.0.1", &port).unwrap();
    broker.set_client_info("ways", "1.0", "test").unwrap();
    broker
}

fn when_it_waits(broker: &mut Broker, act: impl Fn() + Send + Sync + 'static) {
    let listener = move |message: &kavro_broker::LogMessage| {
        if message.text.starts_with("Deadline Timer timeout") {
            act();
        }
    };
    broker.set_message_function(listener).unwrap();
}

#[test]
fn a_panic_of_a_callback_is_the_calls() {
    let silent = TcpListener::bind("127.0.0.1:0").unwrap();
    let mut broker = asking(&silent);
    let canceller = broker.canceller();
    when_it_waits(&mut broker, move || {
        canceller.cancel();
        panic!("of the callback");
    });
    let panic = catch_unwind(AssertUnwindSafe(|| broker.auth_method())).unwrap_err();
    assert_eq!(panic.downcast_ref(), Some(&"of the callback"));
    assert_eq!(broker.certificate_error_text().unwrap(), "");
    assert_eq!(
        broker.set_locale("en\0US").unwrap_err().code(),
        Code::INVALID_PARAMETER
    );
}

#[test]
fn a_request_moves_to_another_thread_and_is_cancelled_from_here() {
    let silent = TcpListener::bind("127.0.0.1:0").unwrap();
    let mut broker = asking(&silent);
    let canceller = broker.canceller();
    let kept = Arc::new(());
    let until_freed = Arc::downgrade(&kept);
    when_it_waits(&mut broker, move || drop(kept.clone()));
    let request = thread::spawn(move || broker.auth_method());
    while !request.is_finished() {
        canceller.cancel();
        thread::yield_now();
    }
    assert_eq!(request.join().unwrap().unwrap_err().code(), Code::CANCELLED);
    assert!(
        until_freed.upgrade().is_none(),
        "a callback outlived its broker"
    );
    canceller.cancel(); // of a broker that is gone
}

#[test]
fn nothing_secret_is_printed() {
    let variables = VariableList::new(&[("seat", "canary")]).unwrap();
    assert_eq!(
        format!("{:?}", variables.get(0).unwrap()),
        r#"Variable { name: "seat", .. }"#
    );
}
