#include "Seeds.h"

#include "FuzzFolder.h"
#include "SignedText.h"
#include "bytes/ByteWriter.h"
#include "bytes/File.h"
#include "codesign/BundleLayout.h"
#include "codesign/CodeSigner.h"
#include "codesign/Entitlements.h"
#include "codesign/ResourceSeal.h"
#include "codesign/StaticCode.h"
#include "keychain/CertificateIssue.h"
#include "keychain/LocalTimeStamper.h"
#include "keychain/TimeStampProtocol.h"
#include "macho/MachOFile.h"
#include "notary/TicketAuthority.h"
#include "plist/PropertyList.h"

#include <algorithm>

namespace fs = std::filesystem;
using namespace codesign;
using keychain::Identity;

namespace fuzz {

namespace {

constexpr uint32_t arm64 = 0x0100000C, x86_64 = 0x01000007;

void putName(std::array<char, 16>& field, std::string_view name)
{
    std::ranges::copy(name, field.begin());
}

/// The smallest program that can be signed: 1 KiB of code and a few bytes of strings.
std::vector<std::byte> tinyProgram(uint32_t cpuType)
{
    using namespace macho;
    constexpr uint32_t textSize = 1024, linkEditSize = 32;
    constexpr uint32_t commandBytes = 72 + 80 + 72 + 24 + 24 + 24;
    bytes::ByteWriter out;
    for (const uint32_t word : {magic64, cpuType, 0U, 2U, 5U, commandBytes, 0x00200085U, 0U})
        out.u32le(word);

    SegmentCommand64 text{};
    text.head = {static_cast<uint32_t>(Command::segment64), 72U + 80};
    putName(text.name, "__TEXT");
    text.address = 0x100000000;
    text.memorySize = 0x4000;
    text.fileSize = textSize;
    text.sectionCount = 1;
    out.record(text);
    Section64 code{};
    putName(code.name, "__text");
    putName(code.segment, "__TEXT");
    code.size = 256;
    code.offset = 768;
    out.record(code);
    SegmentCommand64 linkEdit{};
    linkEdit.head = {static_cast<uint32_t>(Command::segment64), 72U};
    putName(linkEdit.name, "__LINKEDIT");
    linkEdit.address = 0x100004000;
    linkEdit.memorySize = 0x4000;
    linkEdit.fileOffset = textSize;
    linkEdit.fileSize = linkEditSize;
    out.record(linkEdit);
    out.record(SymbolTableCommand{
        {static_cast<uint32_t>(Command::symbolTable), 24U}, textSize, 0U, textSize, linkEditSize});
    out.record(BuildVersionCommand{
        {static_cast<uint32_t>(Command::buildVersion), 24U}, 1U, 11U << 16, 14U << 16, 0U});
    out.record(UuidCommand{{static_cast<uint32_t>(Command::uuid), 24U}, {1, 2, 3}});
    out.padTo(768);
    while (out.size() < textSize)
        out.u32le(0xD503201F);
    out.zeros(linkEditSize);
    return out.take();
}

std::vector<std::byte> universalProgram()
{
    const std::vector<std::byte> slices[] = {tinyProgram(x86_64), tinyProgram(arm64)};
    const auto layout =
        macho::fatLayout({{x86_64, 3}, {arm64, 0}}, {slices[0].size(), slices[1].size()});
    bytes::ByteWriter out;
    out.raw(layout.header);
    for (std::size_t i = 0; i < std::size(slices); ++i) {
        out.padTo(layout.offsets[i]);
        out.raw(slices[i]);
    }
    return out.take();
}

std::vector<std::byte> contentOf(const fs::path& path)
{
    const auto file = bytes::File::open(path, bytes::File::Mode::read);
    return file.read(0, file.size());
}

constexpr std::string_view entitlementsText = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>com.apple.security.app-sandbox</key><true/>
<key>groups</key><array><string>a</string><integer>-129</integer></array></dict></plist>)";

/// Everything that needs an identity: made once, in a folder of its own.
struct Rehearsal {
    FuzzFolder folder;
    keychain::IdentityStore store{folder.path()};
    keychain::LocalAuthority authority{store};
    Identity identity = authority.createIdentity(store, "Example Maker", "ABCDE12345");
    keychain::LocalTimeStamper stamper{authority};
};

void addSignedPrograms(const Seeds& seeds, const Rehearsal& rehearsal)
{
    const auto sign = [&](const std::string& name, std::span<const std::byte> program,
                          const Signer& signer, CodeSigner::Options options) {
        const fs::path path = rehearsal.folder.write(name, program);
        CodeSigner(signer, options).sign(path);
        seeds.add("signed_code", name, contentOf(path));
        const StaticCode code = StaticCode::read(path);
        seeds.add("embedded_signature", name, code.parts.front().signature->parts.write());
    };
    Signer adhoc;
    sign("sound-adhoc", tinyProgram(arm64), adhoc, {.identifier = "com.example.tool"});
    adhoc.flags = flagRuntime;
    adhoc.entitlements = Entitlements::read(std::as_bytes(std::span(entitlementsText)));
    sign("sound-entitled", tinyProgram(x86_64), adhoc, {.identifier = "com.example.tool"});

    // Nobody but its own host trusts this one: it is read, and then refused.
    Signer named = adhoc;
    named.identity = &rehearsal.identity;
    named.stamper = &rehearsal.stamper;
    sign("rehearsed", tinyProgram(arm64), named, {.identifier = "com.example.tool"});
    seeds.add("signed_code", "unsigned-universal", universalProgram());
    seeds.add("macho", "sound-universal", universalProgram());
    seeds.add("macho", "sound-thin", tinyProgram(arm64));
    const fs::path path = rehearsal.folder.write("thin", tinyProgram(arm64));
    CodeSigner({}, {}).sign(path);
    seeds.add("macho", "sound-signed", contentOf(path));
}

void addSeal(const Seeds& seeds, const Rehearsal& rehearsal)
{
    const auto text = [&](const char* name, std::string_view content) {
        rehearsal.folder.write(name, std::as_bytes(std::span(content)));
    };
    text("A.app/Contents/Info.plist",
        "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>A</string>"
        "<key>CFBundleIdentifier</key><string>com.example.a</string></dict></plist>");
    text("A.app/Contents/Resources/en.lproj/a.strings", "a");
    rehearsal.folder.write("A.app/Contents/MacOS/A", tinyProgram(arm64));
    rehearsal.folder.write("A.app/Contents/MacOS/helper", tinyProgram(arm64));
    const fs::path contents = rehearsal.folder.path() / "A.app/Contents";
    fs::create_symlink("en.lproj/a.strings", contents / "Resources/link");
    const auto layout = BundleLayout::of(contents.parent_path());
    const std::string seal = makeSeal(*layout, true, {}, [](const SealCandidate&) {
        return NestedCode{Digest(20, std::byte{9}), "identifier \"com.example.helper\""};
    });
    seeds.add("resource_seal", "sound-seal", seal);
}

void addRequirements(const Seeds& seeds)
{
    const std::string_view texts[] = {
        "identifier \"com.example.app\" and anchor apple generic",
        "anchor apple generic and certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */ and "
        "certificate leaf[subject.OU] = \"ABCDE12345\"",
        "cdhash H\"0123456789abcdef0123456789abcdef01234567\" or never",
        "!(info [CFBundleShortVersionString] >= \"10.4\" and notarized)",
        "entitlement [com.apple.security.app-sandbox] exists or certificate root trusted",
        "certificate leaf = H\"0123456789abcdef0123456789abcdef01234567\" and platform = 1",
        "certificate leaf[timestamp.1.2.3] > timestamp 600000000 or always",
        "info [key] ~ middle or info [key] = begin* or info [key] = *end",
    };
    int number = 0;
    for (const std::string_view text : texts) {
        const std::string name = "sound-" + std::to_string(++number);
        seeds.add("requirement_text", name, text);
        seeds.add("requirement", name, writeRequirement(parseRequirement(text)));
    }
}

void addPropertyLists(const Seeds& seeds)
{
    const plist::Value value = plist::Dictionary{{"array", plist::Array{true, int64_t{-5}, 1.5}},
        {"data", plist::Data(40, std::byte{1})}, {"date", plist::Date{6e8}},
        {"nested", plist::Dictionary{{"k", "v & <w>"}}}, {"text \xC3\xA9", ""}};
    seeds.add("property_list", "sound-xml", plist::writeXml(value));
    seeds.add("property_list", "sound-entitlements", entitlementsText);
}

std::vector<std::byte> pkcs12Of(const Identity& identity, int keyCipher, int certificateCipher)
{
    STACK_OF(X509)* issuers = sk_X509_new_null();
    for (const keychain::Certificate& issuer : identity.issuers)
        sk_X509_push(issuers, issuer.get());
    const keychain::Pkcs12Owner file(PKCS12_create("secret", "Example", identity.key.get(),
        identity.certificate.get(), issuers, keyCipher, certificateCipher, 100, 1, 0));
    sk_X509_free(issuers);
    return keychain::derOf(keychain::required(file.get(), "PKCS12_create"), i2d_PKCS12);
}

void addKeychainSeeds(const Seeds& seeds, const Rehearsal& rehearsal)
{
    const Identity& identity = rehearsal.identity;
    std::string pem = identity.key.pem();
    for (const keychain::Certificate& certificate : identity.chain())
        pem += certificate.pem();
    seeds.add("identity_file", "sound-pem", pem);
    seeds.add("identity_file", "sound-der", identity.certificate.der());
    seeds.add("identity_file", "sound-aes.p12", pkcs12Of(identity, 0, 0));
    seeds.add("identity_file", "sound-old.p12",
        pkcs12Of(identity, NID_pbe_WithSHA1And3_Key_TripleDES_CBC,
            NID_pbe_WithSHA1And3_Key_TripleDES_CBC));
    seeds.add("identity_file", "sound-plain.p12", pkcs12Of(identity, -1, -1));

    const auto hashes = signedHashes();
    seeds.add("code_signature", "sound-plain", keychain::signCode(identity, signedText(), hashes));
    seeds.add("code_signature", "sound-stamped",
        keychain::signCode(identity, signedText(), hashes, &rehearsal.stamper));
    const notary::TicketStore tickets(rehearsal.folder.emptied("state"));
    seeds.add("ticket", "sound-two-hashes",
        notary::TicketAuthority(tickets).issue(tickets, {{}, {.type = 1, .value = {}}}));
    const auto imprint = digestOf(HashType::sha256, signedText());
    seeds.add("time_stamp", "sound-token", rehearsal.stamper.token(imprint));
    seeds.add("time_stamp", "response",
        rehearsal.authority.timeStampResponse(keychain::TimeStampRequest(imprint).der()));
}

} // namespace

void addCodeSeeds(const Seeds& seeds)
{
    const Rehearsal rehearsal;
    addSignedPrograms(seeds, rehearsal);
    addSeal(seeds, rehearsal);
    addRequirements(seeds);
    addPropertyLists(seeds);
    addKeychainSeeds(seeds, rehearsal);
}

} // namespace fuzz
