#include <gtest/gtest.h>

#include "zeakit/token_estimate.h"

TEST(TokenEstimate, OfNothingIsNothing) { EXPECT_EQ(zeakit::estimateTokens(""), 0u); }
