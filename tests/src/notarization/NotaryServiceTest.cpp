#include "NotarizationFixture.h"

#include "notarization/NotarizationError.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class NotaryServiceTest : public NotarizationFixture {
public:
    /// How a submission ends: nothing when it succeeds.
    std::optional<NotarizationError::Case> submit(CancellationHandle cancellation = nullptr)
    {
        try {
            await(service.submit(image, u"My Profile"_s, log, cancellation));
        } catch (const NotarizationError& error) {
            return error.which();
        }
        return std::nullopt;
    }
    QStringList notices() const { return messages.filter(u"Retrying"_s); }

    QStringList messages;
    const NotaryService::Log log = [this](const QString& message) { messages += message; };
};

struct FreshNotaryService : NotaryServiceTest { };

TEST_F(NotaryServiceTest, TheToolsTextDecides)
{
    using Case = NotarizationError::Case;
    constexpr auto invalid = Case::invalidStatus;
    constexpr auto exhausted = Case::retryLimitExceeded;
    struct Row {
        const char* name;
        QString first; // what the first attempt says
        QString later; // what the others say
        std::optional<NotarizationError::Case> end;
        int attempts;
    };
    const QString lost = u"echo 'Error: it timed out' >&2"_s;
    const Row rows[] = {
        {"no mark at all is a success, whatever the status", u"echo so what; exit 7"_s, {}, {}, 1},
        {"an invalid submission", u"printf '  status: Invalid\\n'"_s, {}, invalid, 1},
        {"the word alone is no mark", u"echo 'status: invalid, error:'"_s, {}, {}, 1},
        {"another failure", u"echo 'Error: no such profile' >&2; exit 1"_s, {}, invalid, 1},
        {"the network once, then a success", lost, u"echo fine"_s, {}, 2},
        {"the network's sign without a failure", u"echo 'network connection is slow'"_s, {}, {}, 1},
        {"the network in every attempt", lost, lost, exhausted, 3},
        {"both signs in one attempt, in different pieces",
            u"echo 'Error: nothing' >&2; echo a transient fault"_s, u"echo fine"_s, {}, 2},
        {"signs are not carried over", lost, u"echo transient"_s, {}, 2},
        {"the network, then a refusal", lost, u"echo status: Invalid"_s, invalid, 2},
    };
    for (const Row& row : rows) {
        FreshNotaryService test;
        test.scripted.answer(u"submit"_s, row.later);
        test.scripted.answer(u"submit.1"_s, row.first);
        EXPECT_EQ(test.submit(), row.end) << row.name;
        const std::vector<std::chrono::milliseconds> waits{4s, 8s};
        EXPECT_EQ(test.scripted.calls(),
            QStringList(row.attempts,
                u"xcrun <notarytool> <submit> </out/My App 1.0.dmg> <--keychain-profile> "
                u"<My Profile> <--wait>"_s))
            << row.name;
        EXPECT_EQ(test.clock.begun, std::vector(waits.begin(), waits.begin() + row.attempts - 1))
            << row.name;
        EXPECT_EQ(test.notices().size(), row.attempts - 1) << row.name;
    }
}

TEST_F(NotaryServiceTest, EveryPieceAndEveryRetryIsLogged)
{
    scripted.answer(u"submit"_s, u"echo 'Error: transient'"_s);
    submit();
    const QString said = u"[notarytool] Error: transient\n"_s;
    const QString notice = u"⚠️ Network/Timeout Error detected. Retrying (Attempt %1/3)..."_s;
    EXPECT_EQ(messages, (QStringList{said, notice.arg(2), said, notice.arg(3), said}));
}

TEST_F(NotaryServiceTest, ACancelledWaitLeadsToTheNextAttemptAtOnce)
{
    clock.isHeld = true;
    scripted.answer(u"submit.1"_s, u"echo 'Error: timed out'"_s);
    const auto cancellation = std::make_shared<Cancellation>();
    cancellation->request();
    EXPECT_EQ(submit(cancellation), std::nullopt);
    EXPECT_EQ(scripted.calls().size(), 2);
}

TEST_F(NotaryServiceTest, AShellThatDoesNotStartIsAFailure)
{
    signing.remove(u"/bin/zsh"_s);
    EXPECT_EQ(submit(), NotarizationError::Case::invalidStatus);
}

TEST_F(NotaryServiceTest, WaitsForWhatWasSubmittedBefore)
{
    scripted.answer(u"wait.1"_s, u"echo 'Error: network connection lost'"_s);
    await(service.await(u"2efe2717-52ef-43a5-96dc-0797e4ca1041"_s, u"p"_s, log));
    EXPECT_EQ(scripted.calls(),
        QStringList(2,
            u"xcrun <notarytool> <wait> <2efe2717-52ef-43a5-96dc-0797e4ca1041> "
            u"<--keychain-profile> <p>"_s));
}

TEST_F(NotaryServiceTest, OnlyTheValidationDecidesOnAStaple)
{
    scripted.answer(
        u"staple"_s, u"echo 'The staple and validate action failed! Error 65.'; exit 65"_s);
    EXPECT_NO_THROW(await(service.staple(application, log)));
    EXPECT_EQ(
        messages, QStringList(u"[stapler] The staple and validate action failed! Error 65.\n"_s));
    EXPECT_EQ(scripted.calls(),
        (QStringList{u"xcrun <stapler> <staple> </out/My App.app>"_s,
            u"xcrun <stapler> <validate> </out/My App.app>"_s}));

    scripted.answer(u"validate"_s, u"echo no ticket; exit 65"_s);
    try {
        await(service.staple(application, log));
        ADD_FAILURE() << "succeeds";
    } catch (const ShellError& error) {
        EXPECT_EQ(error.exitStatus(), 65);
        EXPECT_EQ(error.text(), u"no ticket\n\n"_s);
    }
    EXPECT_EQ(messages.size(), 2) << "what the validation says is not logged";
}

TEST_F(NotaryServiceTest, NamesReachTheToolAsTheyAre)
{
    const QString name = u"My \"App\" $HOME `id` $(id) \\ 100% %1.dmg"_s;
    await(service.submit(QUrl::fromLocalFile(u"/out/"_s + name), u"$p\"%2"_s, log));
    await(service.staple(QUrl::fromLocalFile(u"/out/"_s + name), log));
    EXPECT_EQ(scripted.calls(),
        (QStringList{u"xcrun <notarytool> <submit> </out/"_s + name
                + u"> <--keychain-profile> <$p\"%2> <--wait>"_s,
            u"xcrun <stapler> <staple> </out/"_s + name + u'>',
            u"xcrun <stapler> <validate> </out/"_s + name + u'>'}));
}

} // namespace
