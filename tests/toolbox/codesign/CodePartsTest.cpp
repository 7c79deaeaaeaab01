#include "bytes/FormatError.h"
#include "codesign/CodeIdentifier.h"
#include "codesign/Digest.h"
#include "codesign/Entitlements.h"
#include "codesign/SealRules.h"
#include "plist/PropertyList.h"

#include <gtest/gtest.h>

namespace {

using namespace codesign;

TEST(CodeIdentifier, ComesFromTheFileNameWithoutExtensionAndVersion)
{
    struct Row {
        const char* file;
        const char* identifier;
    };
    const Row rows[] = {{"libfrotz7.3.5.dylib", "libfrotz7"}, {"mumble.77.plugin", "mumble.77"},
        {"rumble.rb", "rumble"}, {"MyApp-1.2.3.dmg", "MyApp-1"},
        {"Audit_1.5.1_aarch64.dmg", "Audit_1.5.1_aarch64"}, {"tool", "tool"}, {"7zz", "7zz"},
        {".hidden", ".hidden"}, {"1.2.3", "1.2.3"}, {"x.", "x"}};
    for (const Row& row : rows)
        EXPECT_EQ(identifierFromFileName(row.file), row.identifier) << row.file;
}

Entitlements entitlementsOf(const plist::Value& value)
{
    const std::string xml = plist::writeXml(value);
    return Entitlements::read(std::as_bytes(std::span(xml)));
}

TEST(Entitlements, HaveTheDerFormThatSystemsRead)
{
    EXPECT_EQ(hexOf(entitlementsOf(plist::Dictionary()).derBlob()),
        "fade71720000000f70050201"
        "01b000");
    const auto some = entitlementsOf(plist::Dictionary{{"b", true}, {"a", int64_t{-129}},
        {"list", plist::Array{"x", plist::Dictionary{{"k", false}}}}});
    EXPECT_EQ(hexOf(some.derBlob()).substr(16),
        "702d"
        "020101"
        "b028"
        "30070c01610202ff7f"
        "30060c01620101ff"
        "30150c046c697374"
        "300d0c0178"
        "b00830060c016b010100");
}

TEST(Entitlements, SetTheBitsOfTheExecutableSegment)
{
    EXPECT_EQ(entitlementsOf(plist::Dictionary{{"get-task-allow", true}}).executableFlags(), 0x10U);
    EXPECT_EQ(entitlementsOf(plist::Dictionary{{"get-task-allow", false}}).executableFlags(), 0U);
    EXPECT_EQ(entitlementsOf(plist::Dictionary{{"com.apple.security.get-task-allow", true}})
                  .executableFlags(),
        0U)
        << "only the bare key counts";
}

TEST(Entitlements, RefuseWhatHasNoPlaceInThem)
{
    EXPECT_THROW(entitlementsOf(plist::Array{}), bytes::FormatError);
    EXPECT_THROW(entitlementsOf(plist::Dictionary{{"a", 1.5}}), bytes::FormatError);
    EXPECT_THROW(
        entitlementsOf(plist::Dictionary{{"a", plist::Array{plist::Data()}}}), bytes::FormatError);
    EXPECT_THROW(Entitlements::read({}), bytes::FormatError);
}

TEST(SealRules, TheHeaviestRuleDecides)
{
    const SealRules rules = SealRules::defaults("Resources/");
    EXPECT_EQ(rules.count(), 13U);
    struct Row {
        const char* path;
        bool nested, omit, optional;
    };
    const Row rows[] = {
        {"Resources/a.png", false, false, false},
        {"Resources/en.lproj/a.strings", false, false, true},
        {"Resources/Base.lproj/a.nib", false, false, false},
        {"Resources/en.lproj/locversion.plist", false, true, false},
        {"Resources/x/.DS_Store", false, true, false},
        {"Info.plist", false, true, false},
        {"PkgInfo", false, true, false},
        {"MacOS/helper", true, false, false},
        {"Frameworks/A.framework", true, false, false},
        {"Library/LoginItems/B.app", true, false, false},
        {"Library/other/c", false, false, false},
        {"loose.dylib", true, false, false},
        {"Resources/Nested.app", false, false, false},
    };
    for (const Row& row : rows) {
        const SealRule* rule = rules.ruleFor(row.path);
        ASSERT_NE(rule, nullptr) << row.path;
        EXPECT_EQ(rule->nested && !rule->omit, row.nested) << row.path;
        EXPECT_EQ(rule->omit, row.omit) << row.path;
        EXPECT_EQ(rule->optional, row.optional) << row.path;
    }
    const SealRules again = SealRules::read(rules.write());
    EXPECT_EQ(again.write(), rules.write());
}

TEST(SealRules, HostilePatternsAreRefused)
{
    EXPECT_THROW(SealRules::read("text"), bytes::FormatError);
    EXPECT_THROW(SealRules::read(plist::Dictionary{{"^(", true}}), bytes::FormatError);
    EXPECT_THROW(
        SealRules::read(plist::Dictionary{{std::string(10000, 'a'), true}}), bytes::FormatError);
    EXPECT_THROW(SealRules::read(plist::Dictionary{{"^a", "maybe"}}), bytes::FormatError);
    std::string nested = "a";
    for (int i = 0; i < 30; ++i)
        nested = "(" + nested + ")+";
    for (const std::string& costly : {nested, std::string("((a{1,200}){1,200}){1,200}"),
             "a" + std::string(30, '+'), std::string("(a*)*(a*)*\\1\\2b")})
        EXPECT_THROW(SealRules::read(plist::Dictionary{{costly, true}}), bytes::FormatError)
            << costly;
}

} // namespace
