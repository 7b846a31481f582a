#include "trust.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QSslCertificate>
#include <QSslKey>
#include <QStringList>

namespace {

QSslCertificate certificate_of(const kavro_broker::broker &broker) {
    const auto shown = broker.certificates();
    const auto der = shown.empty() ? kavro_broker::bytes() : shown.front().der;
    return QSslCertificate(QByteArray(reinterpret_cast<const char *>(der.data()), der.size()),
                           QSsl::Der);
}

/// RFC 7469 section 2.4: the hash of the SubjectPublicKeyInfo, which is what Qt calls the DER form.
QByteArray key_pin(const QSslCertificate &certificate) {
    return QCryptographicHash::hash(certificate.publicKey().toDer(), QCryptographicHash::Sha256);
}

kavro_broker::dialog_field shown(const char *label, const QString &text) {
    return {"", label, text.toStdString(), true};
}

} // namespace

Question ask_for_trust(const kavro_broker::broker &broker, const Answer &) {
    const auto certificate = certificate_of(broker);
    if (certificate.publicKey().isNull())
        throw kavro_broker::error(KAVRO_BROKER_ERR_CERTIFICATE_FAILED);
    return {"This broker is not known here. Is it the right one?",
            broker.certificate_error_text(),
            {shown("Names", certificate.subjectAlternativeNames().values().join(", ")),
             shown("Issued by", certificate.issuerDisplayName()),
             shown("Valid until", certificate.expiryDate().toString(Qt::ISODate)),
             shown("Key", "sha256//" + key_pin(certificate).toBase64())},
            {{"trust", "Trust this time"}}};
}

void trust_this_time(kavro_broker::broker &broker, const Answer &, const Answer &) {
    const auto pin = key_pin(certificate_of(broker));
    broker.add_key_pin({pin.begin(), pin.end()});
}
