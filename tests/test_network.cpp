// Name resolution: names and numeric addresses of both families, the failures, and the C face's
// per-thread error text.
#include "qorcommon/c/network.h"
#include "qorcommon/network.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using Orvane::Core::resolveToIPAddress;

TEST(Network, ResolvesNamesAndNumericAddresses) {
    std::string error = "stale";
    // IPv4 is preferred where a name has both kinds of address.
    EXPECT_EQ(resolveToIPAddress("localhost", &error), "127.0.0.1");
    EXPECT_EQ(error, "");
    EXPECT_EQ(resolveToIPAddress("127.0.0.1"), "127.0.0.1");
    EXPECT_EQ(resolveToIPAddress("::1"), "::1");
    EXPECT_EQ(resolveToIPAddress("0:0:0:0:0:0:0:1"), "::1")
        << "numeric addresses come back normalised";
}

TEST(Network, FailuresGiveAnEmptyAddressAndAReason) {
    std::string error;
    EXPECT_EQ(resolveToIPAddress("", &error), "");
    EXPECT_EQ(error, "host name is empty");
    EXPECT_EQ(resolveToIPAddress("no-such-host.invalid", &error), "");
    EXPECT_EQ(error.rfind("cannot resolve 'no-such-host.invalid': ", 0), 0u) << error;
    EXPECT_GT(error.size(), std::string("cannot resolve 'no-such-host.invalid': ").size());
}

TEST(Network, CFaceKeepsTheReasonPerThread) {
    EXPECT_STREQ(qor_ResolveToIPAddress(nullptr), "");
    EXPECT_STREQ(qor_GetResolveError(), "host name is null");
    EXPECT_STREQ(qor_ResolveToIPAddress("no-such-host.invalid"), "");
    const std::string reason = qor_GetResolveError();
    EXPECT_NE(reason.find("no-such-host.invalid"), std::string::npos);

    // Another thread's success neither clears nor overwrites this thread's reason.
    std::string otherAddress;
    std::string otherError = "unset";
    std::thread other([&] {
        otherAddress = qor_ResolveToIPAddress("127.0.0.1");
        otherError = qor_GetResolveError();
    });
    other.join();
    EXPECT_EQ(otherAddress, "127.0.0.1");
    EXPECT_EQ(otherError, "");
    EXPECT_EQ(qor_GetResolveError(), reason);

    EXPECT_STREQ(qor_ResolveToIPAddress("::1"), "::1");
    EXPECT_STREQ(qor_GetResolveError(), "");
}
