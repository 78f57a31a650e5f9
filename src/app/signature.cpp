#include "signature.h"

#include <openssl/evp.h>

#include <memory>

namespace Signature {

bool verifyEd25519(const QByteArray& publicKey, const QByteArray& message, const QByteArray& signature)
{
    if (publicKey.size() != kEd25519KeySize || signature.size() != kEd25519SignatureSize)
        return false;
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519,
                                    nullptr,
                                    reinterpret_cast<const unsigned char*>(publicKey.constData()),
                                    size_t(publicKey.size())),
        &EVP_PKEY_free);
    if (!key)
        return false;
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    // Ed25519 hashes internally, so no digest is named and the message goes in whole.
    if (!context || EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1)
        return false;
    return EVP_DigestVerify(context.get(),
                            reinterpret_cast<const unsigned char*>(signature.constData()),
                            size_t(signature.size()),
                            reinterpret_cast<const unsigned char*>(message.constData()),
                            size_t(message.size()))
        == 1;
}

} // namespace Signature
