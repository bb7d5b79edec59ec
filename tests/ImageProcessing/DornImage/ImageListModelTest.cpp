#include "tests/ImageProcessing/DornImage/ListSupport.h"

namespace {

class ModelTest : public ListTest, public testing::WithParamInterface<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Seeds, ModelTest, testing::Range(0u, 24u));

TEST_P(ModelTest, ListFollowsItsModel) {
    std::mt19937 random{GetParam()};
    ListScript script(folder.path(), [&](unsigned end) { return static_cast<unsigned>(random() % end); });
    for (int count = 0; count < 120; ++count) {
        ASSERT_NO_THROW(script.step()) << "step " << count;
        ASSERT_NO_THROW(script.compare()) << "step " << count;
    }
}

} // namespace
