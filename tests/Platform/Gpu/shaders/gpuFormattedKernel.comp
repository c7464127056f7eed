#version 450
// A storage image with a format qualifier, which BGRA8 textures cannot match.
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 8, rgba8) uniform writeonly image2D outputImage;

void main() {
  imageStore(outputImage, ivec2(gl_GlobalInvocationID.xy), vec4(1.0));
}
