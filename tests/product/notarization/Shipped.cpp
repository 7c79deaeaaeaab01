#include "Shipped.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace {

class Shipping : public testing::Environment {
public:
    void SetUp() override
    {
        m_user = std::make_unique<Rehearsal>();
        m_run.emplace(m_user->shipping(), m_user->folder());
    }
    void TearDown() override
    {
        m_run.reset();
        m_user.reset();
    }
    Rehearsal& finished()
    {
        if (m_run) {
            EXPECT_EQ(m_run->wait(), 0) << m_run->errors();
            m_run.reset();
        }
        return *m_user;
    }

private:
    std::unique_ptr<Rehearsal> m_user;
    std::optional<ProgramRun> m_run;
};

// The test program deletes it at its end.
auto* const shipping = new Shipping;
[[maybe_unused]] testing::Environment* const registered =
    testing::AddGlobalTestEnvironment(shipping);

} // namespace

Rehearsal& Shipped::user()
{
    return shipping->finished();
}
