#include "codesign/Requirement.h"
#include "bytes/FormatError.h"
#include "codesign/Digest.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using namespace codesign;
using bytes::FormatError;

TEST(Requirement, DeveloperIdSetHasTheKnownBytes)
{
    const Blob set = requirementSet(developerIdRequirement("com.example.app", "ABCDE12345"));
    EXPECT_EQ(set.size(), 176U);
    EXPECT_EQ(hexOf(digestOf(HashType::sha256, set)),
        "23047337f7f7fedeb1470144ad7940cae5f2b67b35259fa386e1007a4c995e2b");
    EXPECT_EQ(hexOf(requirementSet(std::nullopt)), "fade0c010000000c00000000");
    EXPECT_EQ(requirementText(*designatedRequirement(set)),
        "identifier \"com.example.app\" and anchor apple generic and "
        "certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */ and "
        "certificate leaf[field.1.2.840.113635.100.6.1.13] /* exists */ and "
        "certificate leaf[subject.OU] = ABCDE12345");
}

TEST(Requirement, TextReadsBackToTheSameExpression)
{
    const char* texts[] = {
        "identifier node",
        "identifier \"com.x\" and (anchor apple or anchor apple generic)",
        "! (identifier a or identifier b) and always",
        "cdhash H\"588dd9042850de2c5d5f10b1cde2de4d4e690887\"",
        "certificate root = H\"611e5b662c593a08ff58d14ae22452d198df6c60\"",
        "certificate leaf[subject.OU] = \"43AQ936H96\"",
        "certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */",
        "info[CFBundleShortVersionString] >= \"17.4\"",
        "entitlement[\"com.apple.security.app-sandbox\"] absent ",
        "certificate leaf[subject.CN] = \"Apple Dev\"*",
        "certificate leaf[subject.CN] = *\"(X)\"",
        "identifier \"quote \\\" and \\\\ backslash\"",
        "anchor trusted or certificate leaf trusted or notarized or platform = 1",
    };
    for (const char* text : texts) {
        const Expression expression = parseRequirement(text);
        EXPECT_EQ(requirementText(expression), text);
        EXPECT_EQ(readRequirement(writeRequirement(expression)), expression) << text;
    }
    EXPECT_EQ(parseRequirement("designated => cert leaf[subject.OU] exists # team"),
        parseRequirement("certificate leaf[subject.OU]"));
    EXPECT_EQ(requirementText(parseRequirement("identifier exists")), "identifier \"exists\"");
}

TEST(Requirement, WrongTextsSayWhere)
{
    struct Row {
        const char* text;
        uint64_t offset;
    };
    const Row rows[] = {{"identifier", 10}, {"identifier a b", 13}, {"(always", 7},
        {"anchor apple and", 16}, {"cdhash abc", 7}, {"\"never", 0}, {"certificate x", 12},
        {"certificate leaf[field.1.x]", FormatError::nowhere}};
    for (const Row& row : rows) {
        try {
            parseRequirement(row.text);
            ADD_FAILURE() << row.text;
        } catch (const FormatError& error) {
            EXPECT_EQ(error.offset(), row.offset) << row.text << ": " << error.what();
        }
    }
    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "(";
    EXPECT_THROW(parseRequirement(deep), FormatError);
    std::string wide = "always";
    for (int i = 0; i < 100000; ++i)
        wide += " and always";
    EXPECT_THROW(parseRequirement(wide), FormatError);
}

TEST(Requirement, DamagedBinaryFormsDoNotFall)
{
    const Blob good = writeRequirement(developerIdRequirement("com.example.app", "ABCDE12345"));
    std::mt19937 random(3); // NOLINT(cert-msc32-c,cert-msc51-cpp): repeatable on purpose
    for (int round = 0; round < 20000; ++round) {
        Blob damaged = good;
        damaged[12 + random() % (damaged.size() - 12)] = static_cast<std::byte>(random());
        try {
            requirementText(readRequirement(damaged));
        } catch (const FormatError&) { }
    }
}

/// A Developer ID program of one team.
class Subject final : public RequirementSubject {
public:
    std::string identifier() const override { return "com.example.app"; }
    bool hasCodeHash(std::string_view raw) const override { return raw == "hash"; }
    std::optional<std::string> infoValue(const std::string& key) const override
    {
        if (key == "Version")
            return "10.2.1";
        return std::nullopt;
    }
    std::optional<std::string> entitlement(const std::string&) const override { return {}; }
    std::optional<std::string> certificateSha1(int32_t) const override { return "sha1"; }
    std::optional<std::string> certificateField(
        int32_t index, const std::string& name) const override
    {
        if (index == 0 && name == "subject.OU")
            return "ABCDE12345";
        return std::nullopt;
    }
    bool certificateHasExtension(int32_t index, const std::string& oid) const override
    {
        return m_extensions.contains({index, oid});
    }
    bool isAnchoredAtApple() const override { return false; }
    bool isAppleGeneric() const override { return true; }
    bool isTrusted(int32_t) const override { return true; }
    bool isNotarized() const override { return false; }
    uint32_t platform() const override { return 0; }

private:
    std::set<std::pair<int32_t, std::string>> m_extensions = {
        {0, oidBytes("1.2.840.113635.100.6.1.13")}, {1, oidBytes("1.2.840.113635.100.6.2.6")}};
};

TEST(Requirement, HoldsOrNotForTheCodeAtHand)
{
    const Subject subject;
    EXPECT_TRUE(satisfies(subject, developerIdRequirement("com.example.app", "ABCDE12345")));
    EXPECT_FALSE(satisfies(subject, developerIdRequirement("com.example.app", "OTHER12345")));
    EXPECT_FALSE(satisfies(subject, developerIdRequirement("com.example.other", "ABCDE12345")));

    struct Row {
        const char* text;
        bool holds;
    };
    const Row rows[] = {{"info[Version] >= \"9.9\"", true}, {"info[Version] < \"10.10\"", true},
        {"info[Version] = \"10.2\"", false}, {"info[Version] = \"10.2\"*", true},
        {"info[Other] absent", true}, {"info[Other] exists", false}, {"anchor apple", false},
        {"! anchor apple and never or always", true},
        {"certificate leaf[field.1.2.840.113635.100.6.1.14]", false}};
    for (const Row& row : rows)
        EXPECT_EQ(satisfies(subject, parseRequirement(row.text)), row.holds) << row.text;
}

} // namespace
