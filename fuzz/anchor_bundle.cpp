#include "trust/anchor_bundle.h"
#include "fuzzing.h"
#include "scratch_file.h"
#include "utils/src/openssl_handles.h"

#include <openssl/pem.h>

#include <algorithm>

// A file of trust anchors: whatever OpenSSL reads in one that is indexed is found by its subject,
// and what is found has that subject.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    static const fuzz::ScratchFile file("anchors.pem");
    file.write(fuzz::as_text(data, size));
    const auto bundle = AnchorBundle::read(file.path());
    if (!bundle)
        return 0;
    const BioHandle text(BIO_new_mem_buf(data, static_cast<int>(size)));
    while (const X509Handle anchor{PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr)}) {
        const X509_NAME *subject = X509_get_subject_name(anchor.get());
        const auto found = bundle->find(subject);
        fuzz::promise(std::ranges::any_of(found,
                                          [&anchor](const X509Handle &one) {
                                              return X509_cmp(one.get(), anchor.get()) == 0;
                                          }),
                      "no anchor is missed");
        for (const auto &one : found)
            fuzz::promise(X509_NAME_cmp(X509_get_subject_name(one.get()), subject) == 0,
                          "none of another name");
    }
    drain_openssl_errors();
    return 0;
}
