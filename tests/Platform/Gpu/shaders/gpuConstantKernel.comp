#version 450
// Writes two function constants (specialization constants) into every pixel: red the
// first, green the second, so a test sees which values the pipeline was made with.
layout(local_size_x = 16, local_size_y = 16) in;
layout(constant_id = 3) const uint first = 7u;
layout(constant_id = 5) const uint second = 9u;
layout(set = 0, binding = 0, std140) uniform Params { uint width, height, seed; } p;
layout(set = 0, binding = 8) uniform writeonly image2D outputImage;

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(p.width) || pos.y >= int(p.height)) return;
  imageStore(outputImage, pos, vec4(float(first & 255u), float(second & 255u), 0.0, 255.0) / 255.0);
}
