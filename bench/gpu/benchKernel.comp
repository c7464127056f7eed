#version 450
// The smallest useful kernel: one block, one storage image.
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 0, std140) uniform Params {
  vec4 color;
} p;
layout(set = 0, binding = 8) uniform writeonly image2D outputImage;

void main() {
  imageStore(outputImage, ivec2(gl_GlobalInvocationID.xy), p.color);
}
