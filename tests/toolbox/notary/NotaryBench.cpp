#include "NotaryBench.h"

#include "archive/MakeZip.h"
#include "codesign/CodeSigner.h"
#include "keychain/IdentityStore.h"
#include "keychain/LocalAuthority.h"
#include "keychain/LocalTimeStamper.h"
#include "volumes/ImageCreator.h"
#include "volumes/StateFolder.h"

#include <cstdlib>

namespace fs = std::filesystem;

namespace {

/// One identity for all tests: making keys takes its time.
struct Shared {
    SampleBundle folder; // only a place that goes at the end
    fs::path state = volumes::StateFolder(folder.folder() / "state").root();
    keychain::IdentityStore store{state};
    keychain::LocalAuthority authority{store};
    keychain::Identity identity = authority.createIdentity(store, "Jane Doe", "ABCDE12345");

    static Shared& get()
    {
        static Shared shared;
        return shared;
    }
};

} // namespace

NotaryBench::NotaryBench()
{
    ::setenv("VANDOR_STATE", state().c_str(), 1);
    fs::remove_all(state() / "tickets");
}

fs::path NotaryBench::state()
{
    return Shared::get().state;
}

void NotaryBench::sign(const fs::path& path, const Signing& how) const
{
    const keychain::LocalTimeStamper stamper(Shared::get().authority);
    codesign::Signer signer;
    signer.flags = how.flags;
    if (!how.adhoc)
        signer.identity = &Shared::get().identity;
    if (!how.adhoc && how.stamped)
        signer.stamper = &stamper;
    if (!how.entitlements.empty())
        signer.entitlements =
            codesign::Entitlements::read(std::as_bytes(std::span(how.entitlements)));
    codesign::CodeSigner(signer, {.force = true, .deep = true}).sign(path);
}

fs::path NotaryBench::zip() const
{
    const fs::path zip = folder() / "App.zip";
    archive::makeZip(app(), zip, {.keepParent = true});
    return zip;
}

fs::path NotaryBench::image() const
{
    const fs::path content = folder() / "content";
    fs::remove_all(content);
    fs::create_directory(content);
    fs::copy(app(), content / app().filename(),
        fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    const fs::path image = folder() / "App.dmg";
    volumes::CreateOptions options;
    options.folder = content;
    options.volumeName = "App";
    options.format = udif::ImageFormat::UDZO;
    options.replace = true;
    volumes::createImage(image, options);
    return image;
}

notary::Verdict NotaryBench::judge(const fs::path& file)
{
    return notary::judge(file, "id", file.filename());
}
