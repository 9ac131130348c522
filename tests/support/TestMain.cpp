#include <gtest/gtest.h>

#include <openssl/err.h>

namespace {

/// Error texts empty libcrypto's queue, so what one test leaves there would show up in the next one's messages.
class EmptyErrorQueue : public testing::EmptyTestEventListener {
    void OnTestStart(testing::TestInfo const& /*test*/) override { ERR_clear_error(); }
};

} // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    testing::UnitTest::GetInstance()->listeners().Append(new EmptyErrorQueue);
    return RUN_ALL_TESTS();
}
