// The colour kernel's sRGB transfer curves are fitted polynomials, not pow: they are
// held to their stated error against the defining formula, over every 8-bit code and a
// dense sweep of linear values, and stay monotonic (tone steps must never reverse).
#include <gtest/gtest.h>

#include <cmath>

#include "Halvane/Rendering/EngineTestSupport.h"
#include "Halvane/Rendering/GlslCompat.h"

namespace halvane {
namespace shader {
using namespace halvane::glsl;
#include "Halvane/Shaders/ColorMath.glsl"
}  // namespace shader
namespace {

using testing::linearToSrgb, testing::srgbToLinear;

TEST(ColorTransferCurve, StaysWithinItsStatedErrorAndMonotonic) {
  double worstLinear = 0, worstEncoded = 0;
  float previous = -1;
  for (int code = 0; code <= 4 * 255; ++code) {  // quarter code values, as clarity and sharpness leave them
    double v = code / (4.0 * 255.0);
    double exact = srgbToLinear(v);
    float got = shader::srgbToLinear(float(v));
    if (exact > 0) worstLinear = std::max(worstLinear, std::abs(got - exact) / exact);
    EXPECT_GE(got, previous) << "code " << code / 4.0;
    previous = got;
  }
  previous = -1;
  for (int i = 0; i <= 100000; ++i) {
    double v = i / 100000.0;
    float got = shader::linearToSrgb(float(v));
    worstEncoded = std::max(worstEncoded, std::abs(got - linearToSrgb(v)) * 255.0);
    EXPECT_GE(got, previous) << "linear " << v;
    previous = got;
  }
  EXPECT_LT(worstLinear, 1.4e-5);   // relative, into linear light
  EXPECT_LT(worstEncoded, 0.011);   // code values, back to encoded
  EXPECT_EQ(shader::srgbToLinear(0.0f), 0.0f);
  EXPECT_EQ(shader::linearToSrgb(0.0f), 0.0f);
  EXPECT_NEAR(shader::srgbToLinear(1.0f), 1.0f, 1.4e-5f);
  EXPECT_NEAR(shader::linearToSrgb(1.0f), 1.0f, 0.011f / 255.0f);
}

}  // namespace
}  // namespace halvane
