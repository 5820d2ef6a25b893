// Entry point of the network test binary: every process of it (test
// discovery and each test) first moves into a network namespace of its own
// with only the loopback interface up, so nothing it sends reaches the
// machine's own interfaces.
#include <sched.h>

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (unshare(CLONE_NEWNET) != 0) {
        std::perror("unshare(CLONE_NEWNET) (the network tests need root)");
        return 1;
    }
    if (std::system("ip link set lo up") != 0) {
        std::fprintf(stderr, "could not bring lo up\n");
        return 1;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
