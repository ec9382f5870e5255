#include <gtest/gtest.h>

#include <kalvo/kalvo.h>

TEST(KArchive, placeholder) { SUCCEED(); }
