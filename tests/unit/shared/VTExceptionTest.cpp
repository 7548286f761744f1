#include "VTException.h"

#include "Exception.h"
#include "LogFixture.h"

#include <stdexcept>

using VTExceptionTest = LogTest;
using Texts = std::vector<std::string>;

TEST_F(VTExceptionTest, IsLoggedPrintedAndReturned) {
    makeCurrentFile();
    std::string message;
    const auto printed = output([&] {
        message = VTException::logException(platform::Exception("NSRangeException", "index 3 beyond bounds"),
                                            "-[AppController populateData]");
    });
    VTLog::finishWriting();
    const std::string expected =
        "Exception in -[AppController populateData]. NSRangeException - index 3 beyond bounds.";
    EXPECT_EQ(message, expected);
    EXPECT_EQ(printed, expected + "\n");
    EXPECT_EQ(entries(1), Texts{expected});
}

TEST_F(VTExceptionTest, HasItsMessageFormattedASecondTime) {
    makeCurrentFile();
    std::string message;
    const auto printed = output(
        [&] { message = VTException::logException(platform::Exception("Name", "50%% of %@"), "-[A b]"); });
    VTLog::finishWriting();
    EXPECT_EQ(message, "Exception in -[A b]. Name - 50%% of %@.");
    // Once by appendLogAndPrint and once more by appendLog.
    EXPECT_EQ(entries(1), Texts{"Exception in -[A b]. Name - 50% of %@."});
    EXPECT_EQ(printed, "Exception in -[A b]. Name - 50%% of .\n");
}

TEST_F(VTExceptionTest, OfTheStandardLibraryGoesByItsType) {
    makeCurrentFile();
    std::string message;
    output([&] { message = VTException::logException(std::out_of_range("too far"), "-[A b]"); });
    EXPECT_EQ(message, "Exception in -[A b]. std::out_of_range - too far.");
}

TEST_F(VTExceptionTest, WithoutAMethodIsLoggedAllTheSame) {
    makeCurrentFile();
    std::string message;
    output([&] { message = VTException::logException(platform::Exception("Name", "reason"), nullptr); });
    EXPECT_EQ(message, "Exception in (null). Name - reason.");
}

TEST_F(VTExceptionTest, DidTimeoutWhenItsNameSaysSo) {
    EXPECT_TRUE(VTException::didTimeout(platform::Exception("NSPortTimeoutException", "no answer")));
    EXPECT_FALSE(VTException::didTimeout(platform::Exception("NSPortTimeoutExceptionX", "")));
    EXPECT_FALSE(
        VTException::didTimeout(platform::Exception("NSGenericException", "NSPortTimeoutException")));
    EXPECT_FALSE(VTException::didTimeout(std::runtime_error("NSPortTimeoutException")));
}
