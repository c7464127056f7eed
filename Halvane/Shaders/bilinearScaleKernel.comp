#version 450
// Bilinear scale of the whole source onto the whole destination: each destination
// pixel centre maps proportionally onto the source and is read through the linear
// clamp-to-edge sampler, so corners map to corners and edges never bleed.
layout(local_size_x = 16, local_size_y = 16) in;

layout(set = 0, binding = 0, std140) uniform ScaleParameters {
  uint destinationWidth;
  uint destinationHeight;
  uint reserved0;
  uint reserved1;
} p;
layout(set = 0, binding = 8) uniform sampler2D source;
layout(set = 0, binding = 9) uniform writeonly image2D destination;

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(p.destinationWidth) || pos.y >= int(p.destinationHeight)) return;
  vec2 uv = (vec2(pos) + 0.5) / vec2(float(p.destinationWidth), float(p.destinationHeight));
  imageStore(destination, pos, textureLod(source, uv, 0.0));
}
