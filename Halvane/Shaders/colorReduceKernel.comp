#version 450
// The first step of the colour pass's wide level (ColorWide.glsl): the picture averaged
// into its reduced copy, the mean colour to texture 1 and the luma's mean and mean
// square (16 bits each) to texture 2. Texel t of a w by h copy takes the pixels from
// t * size / (w, h) up to (t + 1) * size / (w, h) in integer division, so that
// normalised coordinates map alike onto the picture and the copy.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "ColorAdjust.glsl"

layout(set = 0, binding = 10) uniform writeonly image2D reducedLuma;

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  ivec2 target = imageSize(outputImage);
  if (pos.x >= target.x || pos.y >= target.y) return;
  ivec2 full = ivec2(int(u.outputWidth), int(u.outputHeight));
  ivec2 from = pos * full / target;
  ivec2 to = (pos + ivec2(1)) * full / target;
  vec3 sum = vec3(0.0);
  float sumSquares = 0.0;
  for (int y = from.y; y < to.y; ++y) {
    for (int x = from.x; x < to.x; ++x) {
      vec3 c = texelFetch(inputTexture, ivec2(x, y), 0).rgb;
      float l = luma(c);
      sum += c;
      sumSquares += l * l;
    }
  }
  float n = float((to.x - from.x) * (to.y - from.y));
  vec3 mean = sum / n;
  imageStore(outputImage, pos, vec4(mean, 1.0));
  imageStore(reducedLuma, pos, vec4(encodeWide16(luma(mean)), encodeWide16(sumSquares / n)));
}
