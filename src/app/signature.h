#pragma once

#include <QByteArray>

// Checks that a document is exactly what the holder of a key signed.
namespace Signature {

constexpr qsizetype kEd25519KeySize = 32;
constexpr qsizetype kEd25519SignatureSize = 64;

// Whether `signature` is a valid Ed25519 signature of `message` by `publicKey` (the raw
// 32-byte key). Any malformed key or signature is simply not valid.
bool verifyEd25519(const QByteArray& publicKey, const QByteArray& message, const QByteArray& signature);

} // namespace Signature
