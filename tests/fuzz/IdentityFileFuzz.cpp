#include "FuzzInput.h"

#include "keychain/IdentityFile.h"

using namespace keychain;

// PKCS#12, PEM or DER, opened with the password that the seeds have.
FUZZ_TARGET(identity_file, input)
{
    fuzz::accepts<WrongPassword, CryptoError>([&] {
        const auto file = IdentityFile::read(input, "secret");
        for (const Identity& identity : file.identities) {
            identity.isComplete();
            identity.key.pem();
            identity.certificate.organizationalUnit();
            identity.certificate.field("issuer.O");
        }
        for (const Certificate& certificate : file.certificates) {
            certificate.commonName();
            certificate.notAfter();
            certificate.allowsCodeSigning();
            Certificate::fromPem(certificate.pem());
        }
    });
}
