#version 450
// Samples the image with a linear filter; the quad is usually scaled.
layout(set = 0, binding = 8) uniform sampler2D image;
layout(location = 0) in vec2 texCoord;
layout(location = 0) out vec4 color;

void main() {
  color = texture(image, texCoord);
}
