#version 450
// Loads a 16 by 16 tile with a one-pixel border into group memory (18 x 18 vec4, 5184
// bytes), then writes each pixel's right-hand neighbour, clamped at the image edge.
// Threads outside the image help load the tile but write nothing.
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 0, std140) uniform Params {
  uint width;
  uint height;
} p;
layout(set = 0, binding = 8) uniform sampler2D inputTexture;
layout(set = 0, binding = 9) uniform writeonly image2D outputImage;

shared vec4 tile[18 * 18];

vec4 fetchClamped(ivec2 q) {
  return texelFetch(inputTexture, clamp(q, ivec2(0), ivec2(p.width, p.height) - 1), 0);
}

void main() {
  ivec2 groupOrigin = ivec2(gl_WorkGroupID.xy) * 16 - 1;
  for (uint i = gl_LocalInvocationIndex; i < 18u * 18u; i += 256u) {
    ivec2 t = ivec2(i % 18u, i / 18u);
    tile[i] = fetchClamped(groupOrigin + t);
  }
  barrier();
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(p.width) || pos.y >= int(p.height)) return;
  ivec2 local = ivec2(gl_LocalInvocationID.xy) + 1;
  ivec2 right = local + ivec2(pos.x + 1 < int(p.width) ? 1 : 0, 0);
  imageStore(outputImage, pos, tile[right.y * 18 + right.x]);
}
