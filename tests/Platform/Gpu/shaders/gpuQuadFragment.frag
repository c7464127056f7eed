#version 450
// Samples fragment texture 0 and scales it by fragment bytes 0.
layout(set = 0, binding = 4, std140) uniform Tint { vec4 scale; } tint;
layout(set = 0, binding = 8) uniform sampler2D image;
layout(location = 0) in vec2 texCoord;
layout(location = 0) out vec4 color;

void main() {
  color = texture(image, texCoord) * tint.scale;
}
