#version 450
// Writes a pattern that depends on the position and a seed, so that every pixel of an
// odd-sized texture can be checked against the CPU. Output: texture 0. The steps across
// and down are function constants (specialization constants), so a test sees which
// values the pipeline was made with.
layout(local_size_x = 16, local_size_y = 16) in;
layout(constant_id = 3) const uint stepX = 7u;
layout(constant_id = 5) const uint stepY = 131u;
layout(set = 0, binding = 0, std140) uniform Params { uint width, height, seed; } p;
layout(set = 0, binding = 8) uniform writeonly image2D outputImage;

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(p.width) || pos.y >= int(p.height)) return;
  uint v = uint(pos.x) * stepX + uint(pos.y) * stepY + p.seed;
  uint high = uint(pos.x >> 8) + uint(pos.y >> 8) * 16u + 1u;
  imageStore(outputImage, pos, vec4(float(pos.x & 255), float(pos.y & 255), float(v & 255u), float(high)) / 255.0);
}
