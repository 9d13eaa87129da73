#include <geometry/rangef.h>

#include <gtest/gtest.h>

using namespace velmor::geometry;

TEST(Rangef, EvaluateSplitAndShift) {
    EXPECT_EQ(Rangef(0.5f, 1).Evaluate(-2), -0.5f);
    EXPECT_EQ(Rangef(1, -1).Evaluate(0.25f), 0.5f);  // unordered ranges run backwards
    // A parameter found on a piece maps back into the parent range.
    const Rangef piece = Rangef(0, 1).Left(0.5f).Right(0.5f);
    EXPECT_EQ(piece.start, 0.25f);
    EXPECT_EQ(piece.end, 0.5f);
    EXPECT_EQ(piece.Evaluate(0.5f), 0.375f);
    Rangef s(1, 3);
    s += -0.5f;
    EXPECT_EQ(s.Evaluate(1), 2.5f);
}
