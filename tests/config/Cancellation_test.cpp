// A load that is given up: at whichever point, nothing of it is stored.
#include "base/Cancellation.h"

#include "base/HostLog.h"
#include "config/ConfigText.h"
#include "variables/BatchWrite.h"
#include "variables/VariableBatch.h"
#include "variables/VariableMaps.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace zq {
namespace {

// Asks for the end the n-th time that somebody looks.
class CancelAt final : public Cancellation {
public:
    explicit CancelAt(int look) : m_look(look) {}
    bool IsRequested() const override { return ++m_looks > m_look; }
    int Looks() const { return m_looks; }

private:
    int m_look;
    mutable int m_looks = 0;
};

std::string ManySettings() {
    std::string text = R"({"Known":2)";
    for (int i = 0; i < 20'000; ++i) {
        text += ",\"Group" + std::to_string(i) + "\":\"a text that needs memory of its own\"";
    }
    return text + "}";
}

void Load(const std::string& bytes, VariableMaps& maps, const Cancellation* cancellation) {
    ConfigText text(ConfigFile::Settings, cancellation);
    ASSERT_TRUE(text.Read(bytes));
    ASSERT_TRUE(text.Flatten(HostLog()));
    BatchWrite(text.Batch()).ApplyTo(maps);
}

TEST(Cancellation, ALoadThatIsGivenUpStoresNothingWhereverItIs) {
    const std::string bytes = ManySettings();
    VariableMaps maps;
    Load(R"({"Known":1})", maps, nullptr);
    const CancelAt never(INT_MAX);
    {
        VariableMaps others;
        Load(bytes, others, &never);
    }

    for (int look = 0; look < never.Looks(); ++look) {
        const CancelAt cancellation(look);
        EXPECT_THROW(Load(bytes, maps, &cancellation), Cancelled);
        ASSERT_EQ(1U, maps.Integers().Size() - 1); // "Known" and "HmdNameSize"
        EXPECT_EQ(1, *maps.Integers().Find(L"Known", HashName(L"Known")));
        EXPECT_EQ(0U, maps.strings.Size());
    }
    EXPECT_GT(never.Looks(), 10);
}

TEST(Cancellation, ALoadThatNobodyCancelsIsWhole) {
    const CancelAt never(INT_MAX);
    VariableMaps maps;

    Load(ManySettings(), maps, &never);

    EXPECT_EQ(20'000U, maps.strings.Size());
    EXPECT_EQ(2, *maps.Integers().Find(L"Known", HashName(L"Known")));
}

} // namespace
} // namespace zq
