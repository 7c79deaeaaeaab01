#include "NotarizationFixture.h"

#include "notarization/PreFlightInspector.h"

using namespace Qt::StringLiterals;

namespace {

struct PreFlightInspectorTest : NotarizationFixture {
    PreFlightInspector inspector{shell};
};
struct FreshPreFlightInspector : PreFlightInspectorTest { };

TEST_F(PreFlightInspectorTest, TheFirstCheckThatFailsEndsIt)
{
    const QString first = u"--- 1. Checking Signature & Timestamp ---\n"_s;
    const QString signature = first + u"Timestamp=5 Mar 2026 at 14:03:27\n"_s;
    const QString second = u"\n--- 2. Checking Notarization ---\n"_s;
    const QString assessment =
        second + u"/out/My App.app: accepted\nsource=Notarized Developer ID\n"_s;
    const QString third = u"\n--- 3. Checking Staple ---\n"_s;
    const QString ofSignature = u"Signature verification failed."_s;
    const QString ofNotarization = u"Notarization check (spctl) failed."_s;
    const QString ofStaple = u"Staple verification failed."_s;
    const auto failure = [](const QString& reason) { return u"❌ "_s + reason + u'\n'; };
    struct Row {
        const char* name;
        QString request, answer;
        int passed; // checks
        std::optional<QString> reason;
        QString log;
        QString lastLabel;
    };
    const Row rows[] = {
        {"ready", u"none"_s, {}, 3, {},
            signature + assessment + third
                + u"The validate action worked!\n"
                  u"\n✅ Pre-Flight Verification Complete: App is ready for distribution.\n"_s,
            u"Verification Complete!"_s},
        {"unsigned", u"describe"_s, u"echo 'not signed at all' >&2; exit 1"_s, 0, ofSignature,
            first + u"Error: commandFailed(1, \"not signed at all\n\n\")\n"_s
                + failure(ofSignature),
            u"Signature Check Failed"_s},
        {"no timestamp", u"describe"_s, u"echo Signature=adhoc >&2"_s, 0, ofSignature,
            first + u"Signature=adhoc\n"_s + failure(ofSignature), u"Signature Check Failed"_s},
        {"rejected", u"install"_s, u"echo rejected >&2; exit 3"_s, 1, ofNotarization,
            signature + second + u"Error: commandFailed(3, \"rejected\n\n\")\n"_s
                + failure(ofNotarization),
            u"Notarization Check Failed"_s},
        {"accepted, but not notarized", u"install"_s, u"echo source=Developer ID >&2"_s, 1,
            ofNotarization,
            signature + second + u"source=Developer ID\n"_s + failure(ofNotarization),
            u"Notarization Check Failed"_s},
        {"no ticket", u"validate"_s, u"echo no ticket; exit 65"_s, 2, ofStaple,
            signature + assessment + third + u"Error: commandFailed(65, \"no ticket\n\n\")\n"_s
                + failure(ofStaple),
            u"Staple Check Failed"_s},
    };
    const QStringList labels{
        u"Checking Signature..."_s, u"Checking Notarization..."_s, u"Checking Staple..."_s};
    for (const Row& row : rows) {
        FreshPreFlightInspector test;
        test.scripted.answer(row.request, row.answer);
        test.signing.answer(row.request, row.answer);
        QStringList seen;
        const PreFlightInspector::Progress progress = [&](const QString& label) { seen += label; };
        const InspectionResult result = await(test.inspector.inspect(test.application, progress));
        EXPECT_EQ(result.logs, row.log) << row.name;
        EXPECT_EQ(result,
            (InspectionResult{row.passed > 0, row.passed > 1, row.passed > 2, row.reason, row.log}))
            << row.name;
        EXPECT_EQ(seen, labels.first(std::min(row.passed + 1, 3)) + QStringList(row.lastLabel))
            << row.name;
        EXPECT_EQ(test.scripted.calls().size(), std::min(row.passed, 2))
            << row.name << ": later tools are not started";
        EXPECT_EQ(await(test.inspector.inspect(test.application)), result) << row.name;
    }
}

TEST_F(PreFlightInspectorTest, AToolThatIsMissingIsAReasonToo)
{
    signing.remove(u"/bin/zsh"_s);
    const InspectionResult result = await(inspector.inspect(application));
    EXPECT_EQ(result.failureReason, u"Signature verification failed."_s);
    EXPECT_TRUE(result.logs.contains(u"Error: executionFailed(\"Could not start “/bin/zsh”"_s));
}

} // namespace
