#version 450
// Writes each 32-bit word of a 208-byte block into one pixel of a 52 by 1 texture, its
// little-endian bytes in memory order (BGRA storage: blue is the first byte).
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 0, std140) uniform Block { uvec4 words[13]; } b;
layout(set = 0, binding = 8) uniform writeonly image2D outputImage;

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= 52 || pos.y >= 1) return;
  uint w = b.words[pos.x / 4][pos.x % 4];
  vec4 bytes = vec4(float((w >> 16) & 255u), float((w >> 8) & 255u), float(w & 255u), float(w >> 24));
  imageStore(outputImage, pos, bytes / 255.0);
}
