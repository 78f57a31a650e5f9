#include "signing_key.h"

#include <openssl/evp.h>

SigningKey::SigningKey()
    : m_key(nullptr)
{
    EVP_PKEY_CTX* context = EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr);
    if (!context || EVP_PKEY_keygen_init(context) != 1 || EVP_PKEY_keygen(context, &m_key) != 1)
        qFatal("SigningKey: cannot make an Ed25519 key");
    EVP_PKEY_CTX_free(context);
}

SigningKey::~SigningKey()
{
    EVP_PKEY_free(m_key);
}

QByteArray SigningKey::publicKey() const
{
    QByteArray raw(32, '\0');
    size_t length = size_t(raw.size());
    if (EVP_PKEY_get_raw_public_key(m_key, reinterpret_cast<unsigned char*>(raw.data()), &length) != 1)
        qFatal("SigningKey: cannot read the public key");
    raw.resize(qsizetype(length));
    return raw;
}

QByteArray SigningKey::publicKeyBase64() const
{
    return publicKey().toBase64();
}

QByteArray SigningKey::sign(const QByteArray& message) const
{
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    QByteArray signature(64, '\0');
    size_t length = size_t(signature.size());
    if (!context || EVP_DigestSignInit(context, nullptr, nullptr, nullptr, m_key) != 1
        || EVP_DigestSign(context,
                          reinterpret_cast<unsigned char*>(signature.data()),
                          &length,
                          reinterpret_cast<const unsigned char*>(message.constData()),
                          size_t(message.size()))
            != 1)
        qFatal("SigningKey: cannot sign");
    EVP_MD_CTX_free(context);
    signature.resize(qsizetype(length));
    return signature;
}

QByteArray SigningKey::signBase64(const QByteArray& message) const
{
    return sign(message).toBase64();
}
