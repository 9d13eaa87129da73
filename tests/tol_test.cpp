// The tolerance globals: their initial values and the one-time squaring at load,
// and the plain C identity symbols.
#include <geometry/tol.h>
#include <geometry/unitvector3d.h>
#include <gtest/gtest.h>
#include <support/tolerance_guard.h>

#if defined(__unix__)
#include <dlfcn.h>
#endif

// Declared here with C linkage on purpose: if the library exported mangled or
// namespaced names, these would fail to link (or to compile against the header).
extern "C" const char PlenarVersionString[];
extern "C" const double PlenarVersionNumber;

namespace g = velmor::geometry;

TEST(Tolerances, InitialValuesAndLoadTimeSquares) {
    EXPECT_EQ(g::EqualTol, 0.001);
    EXPECT_EQ(g::EqualTolF, 0.001f);
    EXPECT_EQ(g::EqualTolLatLong, 2.28e-08);
    EXPECT_EQ(g::DivideByZeroTol, 1e-10);
    EXPECT_EQ(g::DivideByZeroTolSq, 1e-20);
    const double e = 0.001;
    EXPECT_EQ(g::EqualTolSq, e * e);
    const float ef = 0.001f;
    EXPECT_EQ(g::EqualTolSqF, ef * ef);
}

TEST(Tolerances, SquaresKeepTheLoadTimeValueWhenEqualTolChanges) {
    const double sq = g::EqualTolSq;
    const float sqF = g::EqualTolSqF;
    // |L2 - 1| is about 7.6e-6: outside the load-time squared tolerance (1e-6), but
    // it would pass if EqualTolSq had followed EqualTol = 0.01 to 1e-4.
    const auto almostUnit = g::CUnitVector3d::FromComponents(1.0 + 0x1p-18, 0.0, 0.0);
    plenar_test::ToleranceGuard guard(0.01, 0.01f);
    EXPECT_EQ(g::EqualTolSq, sq);
    EXPECT_EQ(g::EqualTolSqF, sqF);
    EXPECT_FALSE(almostUnit.IsValidObj());
}

TEST(Identity, VersionGlobalsArePlainCSymbols) {
    EXPECT_EQ(PlenarVersionNumber, 16.0);
    EXPECT_STREQ(PlenarVersionString, "@(#)PROGRAM:Plenar  PROJECT:plenar-16.0.19913\n");
#if defined(__unix__)
    // Exported from the shared library under exactly these names.
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "PlenarVersionString"), static_cast<const void*>(PlenarVersionString));
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "PlenarVersionNumber"), static_cast<const void*>(&PlenarVersionNumber));
#endif
}
