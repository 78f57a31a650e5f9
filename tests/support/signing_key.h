#pragma once

#include <QByteArray>

#include <memory>

struct evp_pkey_st;

// A fresh Ed25519 key pair, made for one test, to sign update feeds the way a release is signed.
class SigningKey
{
public:
    SigningKey();
    ~SigningKey();
    SigningKey(const SigningKey&) = delete;
    SigningKey& operator=(const SigningKey&) = delete;

    QByteArray publicKey() const; // the raw 32 bytes
    QByteArray publicKeyBase64() const;
    QByteArray sign(const QByteArray& message) const; // the raw 64 bytes
    QByteArray signBase64(const QByteArray& message) const;

private:
    evp_pkey_st* m_key;
};
