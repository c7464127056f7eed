#pragma once
// The small part of GLSL that the colour kernel's shared sources use (Color*.glsl and
// LookTable.inc), so that the engine (ColorConstants.cpp) and the tests' CPU reference
// compile the very same formulas. Only what
// those files need: float vectors with .x .y .z .w, their arithmetic, and the built-in
// functions by GLSL's definitions. Constructors from a scalar are explicit, as in GLSL,
// so code that GLSL would reject does not compile here either. Scalar functions exist
// for float only, so that literals (double in C++) resolve to them.
#ifndef HALVANE_INSIDE_HalvaneRendering
#error "a private header of Halvane/Rendering: include its public headers"
#endif
#include <cmath>
#include <cstdint>

namespace halvane::glsl {

using uint = std::uint32_t;

struct vec2 {
  float x, y;
  vec2() : x(0), y(0) {}
  explicit vec2(float s) : x(s), y(s) {}
  vec2(float x_, float y_) : x(x_), y(y_) {}
};

struct vec3 {
  float x, y, z;
  vec3() : x(0), y(0), z(0) {}
  explicit vec3(float s) : x(s), y(s), z(s) {}
  vec3(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}
};

struct vec4 {
  float x, y, z, w;
  vec4() : x(0), y(0), z(0), w(0) {}
  explicit vec4(float s) : x(s), y(s), z(s), w(s) {}
  vec4(float x_, float y_, float z_, float w_) : x(x_), y(y_), z(z_), w(w_) {}
  vec4(vec3 v, float w_) : x(v.x), y(v.y), z(v.z), w(w_) {}
};

// Component-wise application of a unary or binary function.
template <typename F>
vec2 map(vec2 a, F f) { return vec2(f(a.x), f(a.y)); }
template <typename F>
vec3 map(vec3 a, F f) { return vec3(f(a.x), f(a.y), f(a.z)); }
template <typename F>
vec2 map(vec2 a, vec2 b, F f) { return vec2(f(a.x, b.x), f(a.y, b.y)); }
template <typename F>
vec3 map(vec3 a, vec3 b, F f) { return vec3(f(a.x, b.x), f(a.y, b.y), f(a.z, b.z)); }

// Componentwise operations: one line each, by the element function they apply.
#define HALVANE_GLSL_UNARY(V, name, expr) \
  inline V name(V a) { return map(a, [](float p) { return expr; }); }
#define HALVANE_GLSL_BINARY(V, name, expr) \
  inline V name(V a, V b) { return map(a, b, [](float p, float q) { return expr; }); }
#define HALVANE_GLSL_VECTOR_OPS(V)                                              \
  HALVANE_GLSL_BINARY(V, operator+, p + q)                                      \
  HALVANE_GLSL_BINARY(V, operator-, p - q)                                      \
  HALVANE_GLSL_BINARY(V, operator*, p * q)                                      \
  HALVANE_GLSL_BINARY(V, operator/, p / q)                                      \
  inline V operator+(V a, float s) { return a + V(s); }                         \
  inline V operator-(V a, float s) { return a - V(s); }                         \
  inline V operator*(V a, float s) { return a * V(s); }                         \
  inline V operator/(V a, float s) { return a / V(s); }                         \
  inline V operator+(float s, V a) { return V(s) + a; }                         \
  inline V operator-(float s, V a) { return V(s) - a; }                         \
  inline V operator*(float s, V a) { return V(s) * a; }                         \
  inline V operator/(float s, V a) { return V(s) / a; }                         \
  HALVANE_GLSL_UNARY(V, operator-, -p)                                          \
  HALVANE_GLSL_UNARY(V, abs, std::fabs(p))                                      \
  HALVANE_GLSL_UNARY(V, floor, std::floor(p))                                   \
  HALVANE_GLSL_UNARY(V, fract, p - std::floor(p))                               \
  HALVANE_GLSL_BINARY(V, pow, std::pow(p, q))                                   \
  inline V mod(V a, float b) {                                                  \
    return map(a, [b](float p) { return p - b * std::floor(p / b); });          \
  }                                                                             \
  HALVANE_GLSL_BINARY(V, min, q < p ? q : p)                                    \
  HALVANE_GLSL_BINARY(V, max, p < q ? q : p)                                    \
  inline V clamp(V a, float lo, float hi) { return min(max(a, V(lo)), V(hi)); } \
  inline V mix(V a, V b, float t) { return a * (1.0f - t) + b * t; }

HALVANE_GLSL_VECTOR_OPS(vec2)
HALVANE_GLSL_VECTOR_OPS(vec3)
#undef HALVANE_GLSL_VECTOR_OPS
#undef HALVANE_GLSL_BINARY
#undef HALVANE_GLSL_UNARY

inline float abs(float a) { return std::fabs(a); }
inline float floor(float a) { return std::floor(a); }
inline float fract(float a) { return a - std::floor(a); }
inline float mod(float a, float b) { return a - b * std::floor(a / b); }
inline float min(float a, float b) { return b < a ? b : a; }
inline float max(float a, float b) { return a < b ? b : a; }
inline float clamp(float a, float lo, float hi) { return min(max(a, lo), hi); }
inline float mix(float a, float b, float t) { return a * (1.0f - t) + b * t; }
inline float smoothstep(float e0, float e1, float x) {
  float t = clamp((x - e0) / (e1 - e0), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}
inline float pow(float a, float b) { return std::pow(a, b); }
inline float exp(float a) { return std::exp(a); }
inline float exp2(float a) { return std::exp2(a); }
inline float log2(float a) { return std::log2(a); }
inline float sqrt(float a) { return std::sqrt(a); }
inline float cos(float a) { return std::cos(a); }

inline float dot(vec2 a, vec2 b) { return a.x * b.x + a.y * b.y; }
inline float dot(vec3 a, vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline float length(vec2 a) { return std::sqrt(dot(a, a)); }
inline vec2 normalize(vec2 a) { return a / length(a); }

}  // namespace halvane::glsl
