// The tests run on a USB that does not exist: the program starts itself again with
// the library in front that makes it up.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "tests/native_usb/scripted_chip.h"

int main(int count, char** arguments)
{
    if (getenv("QVN_TEST_PRELOADED") == nullptr) {
        setenv("QVN_TEST_PRELOADED", "1", 1);
        setenv("LD_PRELOAD", QVN_PRELOADS, 1);
        execv("/proc/self/exe", arguments);
        perror("native_usb");
        return 1;
    }
    testing::InitGoogleTest(&count, arguments);
    if (!StartTestbed()) {
        fprintf(stderr, "native_usb: %s could not be put in front; install umockdev\n",
                QVN_PRELOADS);
        return 1;
    }
    return RUN_ALL_TESTS();
}
