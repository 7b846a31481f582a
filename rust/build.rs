//! Where the library is, if the linker does not look there by itself.

fn main() {
    println!("cargo:rerun-if-env-changed=KAVRO_BROKER_LIBRARY_DIR");
    if let Ok(folder) = std::env::var("KAVRO_BROKER_LIBRARY_DIR") {
        println!("cargo:rustc-link-search=native={folder}");
    }
}
