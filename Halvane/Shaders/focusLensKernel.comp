#version 450
// A step of the lens modes (bokeh, iris): on a reduced level whose highlights are
// boosted, each texel gathers the texels under its own aperture, a disc or a polygon
// of irisBlades sides turned by irisRotation, with an antialiased rim one texel wide.
// The level is chosen so that the largest aperture spans a fixed number of texels, so
// the work per texel does not grow with the blur. Interiors weigh 1 without a test;
// only the rim computes its weight.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusLight.glsl"
#include "FocusRegion.glsl"
#include "FocusBlurSize.glsl"
#include "FocusStep.glsl"

vec2 bladeNormals[9];

// Weight of a texel at offset o (texels) in an aperture of circumradius r.
float apertureWeight(vec2 o, float r, float inradius) {
  if (u.focusMode != FOCUS_IRIS) return clamp(r - length(o) + 0.5, 0.0, 1.0);
  float outside = -1e30;
  for (uint b = 0u; b < u.irisBlades; ++b) outside = max(outside, dot(o, bladeNormals[b]) - inradius);
  return clamp(0.5 - outside, 0.0, 1.0);
}

// Horizontal offsets between which a texel at vertical offset dy lies wholly inside
// the aperture, rim excluded. Empty when x > y.
vec2 interiorSpan(float dy, float r, float inradius) {
  if (u.focusMode != FOCUS_IRIS) {
    float inner = r - 0.5;
    if (inner <= abs(dy)) return vec2(1.0, -1.0);
    float halfWidth = sqrt(inner * inner - dy * dy);
    return vec2(-halfWidth, halfWidth);
  }
  vec2 span = vec2(-1e30, 1e30);
  for (uint b = 0u; b < u.irisBlades; ++b) {
    vec2 n = bladeNormals[b];
    float limit = inradius - 0.5 - n.y * dy;
    if (abs(n.x) < 1e-6) {
      if (limit < 0.0) return vec2(1.0, -1.0);
    } else if (n.x > 0.0) {
      span.y = min(span.y, limit / n.x);
    } else {
      span.x = max(span.x, limit / n.x);
    }
  }
  return span;
}

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 size = stepTargetSize();
  if (any(greaterThanEqual(pos, size))) return;
  float f = float(focusStep.factor);
  float r = lensRadius((vec2(pos) + 0.5) * f) / f;  // in texels
  vec4 own = texelFetch(inputTexture, pos, 0);
  if (r < 0.5) {
    imageStore(outputImage, pos, own);
    return;
  }
  float n = float(u.irisBlades);
  // The first vertex points up at irisRotation 0; normals sit between vertices.
  for (uint b = 0u; b < u.irisBlades; ++b) {
    float angle = -1.5707963 + u.irisRotationRadians + (float(b) + 0.5) * 6.2831853 / n;
    bladeNormals[b] = vec2(cos(angle), sin(angle));
  }
  float inradius = r * cos(3.14159265 / n);
  float a = highlightStrength();
  int reach = int(ceil(r + 0.5));
  vec3 sum = vec3(0.0);
  float weight = 0.0;
  for (int dy = -reach; dy <= reach; ++dy) {
    int y = pos.y + dy;
    if (y < 0 || y >= size.y) continue;
    float extent = sqrt(max(float(reach * reach - dy * dy), 0.0));
    int i0 = max(-int(extent), -pos.x), i1 = min(int(extent), size.x - 1 - pos.x);
    vec2 span = interiorSpan(float(dy), r, inradius);
    int a0 = max(int(ceil(span.x)), i0), a1 = min(int(floor(span.y)), i1);
    if (a0 > a1) a0 = i1 + 1, a1 = i1;
    for (int dx = i0; dx <= i1; ++dx) {
      float w = (dx >= a0 && dx <= a1) ? 1.0 : apertureWeight(vec2(dx, dy), r, inradius);
      if (w <= 0.0) continue;
      vec3 l = decodeLevel(texelFetch(inputTexture, ivec2(pos.x + dx, y), 0).rgb);
      sum += w * expandHighlights(l, a);
      weight += w;
    }
  }
  vec3 mean = weight > 0.0 ? sum / weight : expandHighlights(decodeLevel(own.rgb), a);
  imageStore(outputImage, pos, encodeLevel(compressHighlights(mean, a)));
}
