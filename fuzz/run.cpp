/// What the targets share: a check of the tests that fails ends the program, and so becomes a finding.
#include <gtest/gtest.h>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    GTEST_FLAG_SET(throw_on_failure, true);
    return 0;
}
