#version 450
// The display quad from the vertex index: a triangle strip of four corners placed by
// the 16-byte block (origin and size in clip space, y up). Texture coordinates put the
// top-left texel at the upper left of the quad.
layout(set = 0, binding = 0, std140) uniform QuadBlock {
  float originX;
  float originY;
  float sizeX;
  float sizeY;
} quad;
layout(set = 0, binding = 1, std140) uniform TextureSizeBlock {
  float width;
  float height;
} textureSize;

layout(location = 0) out vec2 texCoord;

void main() {
  vec2 corner = vec2(float(gl_VertexIndex & 1), float((gl_VertexIndex >> 1) & 1));
  vec2 clip = vec2(quad.originX, quad.originY) + corner * vec2(quad.sizeX, quad.sizeY);
  texCoord = vec2(corner.x, 1.0 - corner.y);
  // Vulkan's clip space has y down; the block's y is up.
  gl_Position = vec4(clip.x, -clip.y, 0.0, 1.0);
}
