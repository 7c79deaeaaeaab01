#include "codesign/CodeSigner.h"
#include "SampleBundle.h"
#include "bytes/FormatError.h"
#include "bytes/Interruption.h"
#include "codesign/CodeError.h"
#include "codesign/CodeReport.h"
#include "codesign/CodeVerifier.h"
#include "codesign/PendingChanges.h"
#include "codesign/ResourceSeal.h"
#include "codesign/SignedState.h"
#include "plist/PropertyList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>

namespace {

using namespace codesign;
namespace fs = std::filesystem;

CodeSigner::Result sign(const fs::path& path, CodeSigner::Options options)
{
    return CodeSigner(Signer{}, std::move(options)).sign(path);
}

/// The message that verification ends in; empty when all holds.
std::string fault(const fs::path& path, CodeVerifier::Options options = {.deep = true})
{
    const keychain::TrustedRoots roots;
    try {
        CodeVerifier(roots).verify(path, options);
        return {};
    } catch (const CodeError& error) {
        return error.what();
    }
}

TEST(CodeSigner, AnAdHocBundleVerifiesAndEveryChangeIsNamed)
{
    const SampleBundle sample;
    EXPECT_EQ(fault(sample.app()), message::notSigned);
    sign(sample.app(), {.force = true, .deep = true});
    ASSERT_EQ(fault(sample.app(), {.deep = true, .strict = true}), "");

    struct Row {
        const char* name;
        std::function<void(const SampleBundle&)> change;
        std::string message;
    };
    const std::string resource = "Contents/Resources/en.lproj/What's new.txt";
    const Row rows[] = {
        {"a byte of code", [](auto& s) { flip(s.executable(), 0x4000 + 0x1000); },
            message::modified},
        {"a byte of Info.plist", [](auto& s) { flip(s.app() / "Contents/Info.plist", 300); },
            message::infoModified},
        {"the first byte of Info.plist", [](auto& s) { flip(s.app() / "Contents/Info.plist", 0); },
            message::infoModified},
        {"a byte of the seal", [](auto& s) { flip(s.seal(), 400); }, message::sealModified},
        {"the seal is gone", [](auto& s) { fs::remove(s.seal()); }, message::sealMissing},
        {"a resource", [](auto& s) { flip(s.app() / "Contents/Resources/HelloIcon.icns", 99); },
            message::resourceModified},
        {"a resource more", [](auto& s) { putContent(s.app() / "Contents/Resources/x", "x"); },
            message::resourceModified},
        {"the executable is signed apart from its bundle",
            [](auto& s) { sign(s.executable(), {.force = true}); }, message::sealMissing},
        {"a link that leads elsewhere",
            [](auto& s) {
                fs::remove(s.framework() / "Greeting");
                fs::create_symlink("Versions/A/Greeting", s.framework() / "Greeting");
            },
            ""}, // outside the seal of a version; only the strict check minds
        {"nested code",
            [](auto& s) { flip(s.framework() / "Versions/A/Greeting", 0x4000 + 0x1000); },
            message::modified},
        {"a resource of nested code",
            [](auto& s) { putContent(s.framework() / "Versions/A/Resources/x", "x"); },
            message::resourceModified},
        {"a translation may go", [&](auto& s) { fs::remove(s.app() / resource); }, ""},
        {"but not change", [&](auto& s) { flip(s.app() / resource, 3); },
            message::resourceModified},
    };
    for (const Row& row : rows) {
        const SampleBundle damaged;
        sign(damaged.app(), {.force = true, .deep = true});
        row.change(damaged);
        EXPECT_EQ(fault(damaged.app()), row.message) << row.name;
    }
}

/// A link that belongs to the seal.
void link(const SampleBundle& sample, const char* target)
{
    fs::create_symlink(target, sample.app() / "Contents/Resources/link");
    sign(sample.app(), {.force = true, .deep = true});
}

TEST(CodeSigner, StrictChecksFindWhatASealDoesNotCover)
{
    struct Row {
        const char* name;
        std::function<void(const SampleBundle&)> change;
        std::string message;
    };
    const Row rows[] = {
        {"a file beside Contents", [](auto& s) { putContent(s.app() / "junk", "x"); },
            message::bundleRootContents},
        {"a file beside Versions", [](auto& s) { putContent(s.framework() / "junk", "x"); },
            message::frameworkRootContents},
        {"a program beside Contents", [](auto& s) { fs::copy(s.executable(), s.app() / "Icon\r"); },
            message::bundleRootContents},
        {"a current version that is no link",
            [](auto& s) {
                fs::remove(s.framework() / "Versions/Current");
                fs::rename(s.framework() / "Versions/A", s.framework() / "Versions/Current");
            },
            message::frameworkRootContents},
        {"a version that isn't the current one",
            [](auto& s) {
                fs::copy(s.framework() / "Versions/A", s.framework() / "Versions/B",
                    fs::copy_options::recursive);
                flip(s.framework() / "Versions/B/Greeting", 0x4000 + 0x1000);
            },
            message::frameworkVersion},
        {"a link out of it", [](auto& s) { link(s, "/usr/share"); }, message::linkDestination},
        {"a link to the system", [](auto& s) { link(s, "/System/Library"); }, ""},
        {"bytes behind the last slice",
            [](auto& s) { putContent(s.executable(), contentOf(s.executable()) + "0123456789"); },
            ""}, // outside every slice: nothing loads them
    };
    for (const Row& row : rows) {
        const SampleBundle sample;
        sign(sample.app(), {.force = true, .deep = true});
        row.change(sample);
        EXPECT_EQ(fault(sample.app()), "") << row.name;
        EXPECT_EQ(fault(sample.app(), {.deep = true, .strict = true}), row.message) << row.name;
    }
}

TEST(CodeSigner, ReadsLinksAndModesTheSameAfterwards)
{
    const SampleBundle sample;
    fs::permissions(sample.executable(), fs::perms(0755));
    sign(sample.app(), {.force = true, .deep = true});
    EXPECT_EQ(fs::status(sample.executable()).permissions(), fs::perms(0755));
    EXPECT_EQ(fs::read_symlink(sample.framework() / "Versions/Current"), "A");
    EXPECT_TRUE(fs::exists(sample.framework() / "Versions/A/_CodeSignature/CodeResources"));
    EXPECT_FALSE(fs::exists(sample.framework() / "_CodeSignature"));
}

TEST(CodeSigner, SignsAgainOnlyWhenForced)
{
    const SampleBundle sample;
    EXPECT_EQ(sign(sample.app(), {.deep = true}).replaced, CodeSigner::Replaced::signature)
        << "what the linker signed is replaced without being asked";
    EXPECT_THROW(sign(sample.app(), {.deep = true}), CodeError);
    const auto again = sign(sample.app(), {.force = true, .deep = true});
    EXPECT_EQ(again.replaced, CodeSigner::Replaced::signature);
    EXPECT_EQ(fault(sample.app()), "");
}

TEST(CodeSigner, AFailureLeavesEverythingAsItWas)
{
    struct Row {
        const char* name;
        std::function<void(const SampleBundle&)> prepare;
        CodeSigner::Options options;
    };
    const Row rows[] = {
        {"nested code that isn't signed",
            [](auto& s) { removeSignature(s.framework() / "Versions/A/Greeting"); },
            {.force = true}},
        {"an Info.plist that is none",
            [](auto& s) { putContent(s.app() / "Contents/Info.plist", "<plist><dict>"); },
            {.force = true, .deep = true}},
        {"a socket among the resources",
            [](auto& s) {
                ASSERT_EQ(::mkfifo((s.app() / "Contents/Resources/pipe").c_str(), 0600), 0);
            },
            {.force = true, .deep = true}},
        {"a nested file that is no sound Mach-O",
            [](auto& s) {
                putContent(
                    s.app() / "Contents/MacOS/broken", std::string("\xCF\xFA\xED\xFE") + "x");
                putContent(s.app() / "Contents/MacOS/broken2",
                    std::string("\xCF\xFA\xED\xFE", 4) + std::string(60, '\xFF'));
            },
            {.force = true, .deep = true}},
        {"something hung on behind the executable",
            [](auto& s) { putContent(s.executable(), contentOf(s.executable()) + "payload"); },
            {.force = true, .deep = true}},
        {"Finder information on a sealed file",
            [](auto& s) {
                const std::string value(32, 'x');
                ::setxattr((s.app() / "Contents/Resources/HelloIcon.icns").c_str(),
                    "user.com.apple.FinderInfo", value.data(), value.size(), 0);
            },
            {.force = true, .deep = true}},
    };
    for (const Row& row : rows) {
        const SampleBundle sample;
        row.prepare(sample);
        const std::string before = sample.fingerprint();
        EXPECT_ANY_THROW(sign(sample.app(), row.options)) << row.name;
        EXPECT_EQ(sample.fingerprint(), before) << row.name;
    }
}

TEST(CodeSigner, ASignalLeavesNoNewFolderBehind)
{
    const SampleBundle sample;
    const std::string before = sample.fingerprint();
    EXPECT_EXIT(
        {
            bytes::endOnSignals();
            PendingChanges pending;
            pending.put(sample.seal(), "seal");
            ::kill(::getpid(), SIGTERM);
            for (;;)
                ::pause();
        },
        testing::ExitedWithCode(128 + SIGTERM), "");
    EXPECT_EQ(sample.fingerprint(), before);
}

TEST(ResourceSeal, OfTheOldKindKnowsFilesOnly)
{
    const SampleBundle sample;
    const auto layout = BundleLayout::of(sample.app());
    const std::string whole = makeSeal(*layout, true, {}, [](auto&) { return NestedCode{}; });
    auto old = *plist::read(std::as_bytes(std::span(whole))).as<plist::Dictionary>();
    old.erase("files2");
    old.erase("rules2");
    const std::string text = plist::writeXml(old);
    const ResourceSeal seal = ResourceSeal::read(std::as_bytes(std::span(text)));
    EXPECT_EQ(seal.version, 1);

    const auto differences = [&] {
        return compareWithSeal(*layout, seal, [](auto&, auto&) { return false; });
    };
    fs::create_symlink("HelloIcon.icns", sample.app() / "Contents/Resources/link");
    EXPECT_TRUE(differences().none());
    flip(sample.app() / "Contents/Resources/HelloIcon.icns", 50);
    EXPECT_EQ(differences().modified, std::vector<std::string>{"Resources/HelloIcon.icns"});
}

TEST(ResourceSeal, MayLeaveOutNoMoreThanSignersDo)
{
    const SealRules signers = SealRules::defaults("Resources/");
    plist::Dictionary rules = *signers.write().as<plist::Dictionary>();
    EXPECT_TRUE(SealRules::read(rules).omitsOnlyAs(signers));
    rules.emplace("^Resources/payload$", plist::Dictionary{{"omit", true}, {"weight", 3000.0}});
    EXPECT_FALSE(SealRules::read(rules).omitsOnlyAs(signers));
}

TEST(CodeSigner, TakesFlagsFromTheInformationDictionaryUnlessItIsToldOthers)
{
    struct Row {
        const char* value; // of CSFlags
        std::optional<uint32_t> asked;
        std::string printed;
    };
    const Row rows[] = {
        {"<string>runtime,hard</string>", {}, "flags=0x10102(adhoc,hard,runtime)"},
        {"<integer>512</integer>", {}, "flags=0x202(adhoc,kill)"},
        {"<string>runtime</string>", flagHard, "flags=0x102(adhoc,hard)"},
        {"<true/>", {}, "flags=0x2(adhoc)"},
    };
    for (const Row& row : rows) {
        const SampleBundle sample;
        const fs::path info = sample.app() / "Contents/Info.plist";
        std::string text = contentOf(info);
        text.insert(text.find("<dict>") + 6, std::string("<key>CSFlags</key>") + row.value);
        putContent(info, text);
        CodeSigner({.flags = row.asked}, {.force = true, .deep = true}).sign(sample.app());
        const auto lines = reportOn(StaticCode::read(sample.app()), {}, 1);
        EXPECT_NE(lines.at(3).find(row.printed), std::string::npos) << lines[3];
    }
}

TEST(CodeSigner, ADryRunNamesTheCodeInsideOutAndTouchesNothing)
{
    const SampleBundle sample;
    const std::string before = sample.fingerprint();
    const auto result = sign(sample.app(), {.force = true, .deep = true, .dryRun = true});
    ASSERT_EQ(result.plan.size(), 2U);
    EXPECT_EQ(result.plan[0].code.identifier, "com.vandordmg.samples.greeting");
    EXPECT_EQ(result.plan[1].code.identifier, "com.vandordmg.samples.hello");
    EXPECT_EQ(result.plan[1].code.format, "app bundle with Mach-O universal (x86_64 arm64)");
    EXPECT_EQ(sample.fingerprint(), before);
}

TEST(CodeSigner, TakesASignatureAwayAgain)
{
    const SampleBundle sample;
    removeSignature(sample.executable());
    const std::string bare = contentOf(sample.executable());
    EXPECT_EQ(signedStateOf(sample.executable()), SignedState::notSigned);
    sign(sample.executable(), {});
    removeSignature(sample.executable());
    EXPECT_EQ(contentOf(sample.executable()).size(), bare.size());
    EXPECT_THROW(removeSignature(sample.executable()), CodeError);
}

TEST(CodeReport, NamesWhatIsInTheSignature)
{
    const SampleBundle sample;
    sign(sample.app(), {.force = true, .deep = true});
    const auto lines = reportOn(StaticCode::read(sample.app()), {}, 4);
    const auto has = [&](const std::string& line) {
        return std::ranges::find(lines, line) != lines.end();
    };
    EXPECT_TRUE(has("Executable=" + sample.executable().string()));
    EXPECT_TRUE(has("Identifier=com.vandordmg.samples.hello"));
    EXPECT_TRUE(has("Format=app bundle with Mach-O universal (x86_64 arm64)"));
    EXPECT_TRUE(has("Signature=adhoc"));
    EXPECT_TRUE(has("Info.plist entries=11")) << testing::PrintToString(lines);
    EXPECT_TRUE(has("TeamIdentifier=not set"));
    EXPECT_TRUE(has("Internal requirements count=0 size=12"));
    EXPECT_EQ(reportOn(StaticCode::read(sample.app()), {}, 0).size(), 1U);
}

} // namespace
