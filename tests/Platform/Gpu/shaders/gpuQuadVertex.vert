#version 450
// A quad from the vertex index as a triangle strip, placed by a 16-byte block (origin and
// size in Vulkan clip space, y down); texture coordinates 0 to 1 from its top-left corner.
layout(set = 0, binding = 0, std140) uniform Quad { vec2 origin, size; } quad;
layout(location = 0) out vec2 texCoord;

void main() {
  vec2 corner = vec2(float(gl_VertexIndex & 1), float((gl_VertexIndex >> 1) & 1));
  texCoord = corner;
  gl_Position = vec4(quad.origin + corner * quad.size, 0.0, 1.0);
}
