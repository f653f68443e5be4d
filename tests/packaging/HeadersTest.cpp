#include <gtest/gtest.h>

// The real check is that every generated unit, one per public header, compiled.
TEST(PublicHeaders, CompileOnTheirOwn) { SUCCEED(); }
