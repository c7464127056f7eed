#version 450
// Crop, clockwise quarter turns, then the mirror in the turned frame. Without tilt
// every output pixel is a copy of one source pixel. With tilt the content turns about
// the output's centre, is sampled bilinearly, and is enlarged just enough that the
// output's corners never leave the crop.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"

// Maps an output pixel (in the turned, mirrored frame) to crop-relative coordinates
// in the unturned crop, both continuous, origin top left.
vec2 unturn(vec2 p, vec2 turned) {
  if (u.flipHorizontal != 0u) p.x = turned.x - p.x;
  switch (u.quarterTurns) {
    case 1u: return vec2(p.y, turned.x - p.x);
    case 2u: return vec2(turned.x - p.x, turned.y - p.y);
    case 3u: return vec2(turned.y - p.y, p.x);
    default: return p;
  }
}

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(u.outputWidth) || pos.y >= int(u.outputHeight)) return;

  vec2 turned = vec2(float(u.outputWidth), float(u.outputHeight));
  ivec2 cropOrigin = ivec2(floor(vec2(u.cropX * float(u.sourceWidth), u.cropY * float(u.sourceHeight)) + 0.5));
  ivec2 cropSize = ivec2(u.croppedWidth, u.croppedHeight);
  ivec2 sourceMax = ivec2(u.sourceWidth, u.sourceHeight) - 1;
  cropOrigin = clamp(cropOrigin, ivec2(0), max(sourceMax + 1 - cropSize, ivec2(0)));

  if (u.rotationRadians == 0.0) {
    // Exact path: pixel centres map to pixel centres.
    vec2 c = unturn(vec2(pos) + 0.5, turned);
    ivec2 s = clamp(cropOrigin + ivec2(floor(c)), ivec2(0), sourceMax);
    imageStore(outputImage, pos, texelFetch(inputTexture, s, 0));
    return;
  }

  // Tilt in the output frame: turn the point about the centre by -angle, shrink by the
  // cover factor so the turned output rectangle stays inside the unturned one.
  float t = u.rotationRadians;
  float longSide = max(turned.x, turned.y);
  float shortSide = min(turned.x, turned.y);
  float cover = (longSide / shortSide) * abs(sin(t)) + cos(t);
  vec2 centre = 0.5 * turned;
  vec2 d = (vec2(pos) + 0.5 - centre) / cover;
  float cs = cos(t), sn = sin(t);
  vec2 q = centre + vec2(cs * d.x + sn * d.y, -sn * d.x + cs * d.y);
  vec2 c = unturn(q, turned);
  vec2 sourcePoint = vec2(cropOrigin) + c;
  vec2 lo = vec2(cropOrigin) + 0.5;
  vec2 hi = vec2(cropOrigin + cropSize) - 0.5;
  sourcePoint = clamp(sourcePoint, lo, hi);
  vec2 uv = sourcePoint / vec2(float(u.sourceWidth), float(u.sourceHeight));
  imageStore(outputImage, pos, textureLod(inputTexture, uv, 0.0));
}
