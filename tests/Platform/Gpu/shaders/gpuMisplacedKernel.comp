#version 450
// Breaks the binding convention: a texture at binding 2, where bytes belong.
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 2) uniform writeonly image2D outputImage;

void main() {
  imageStore(outputImage, ivec2(gl_GlobalInvocationID.xy), vec4(1.0));
}
