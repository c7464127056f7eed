#version 450
// Reads texture 0 exactly (texelFetch through the sampler) and writes texture 1 with the
// colour channels turned (r <- g, g <- b, b <- r) and `delta` code values added to red.
layout(local_size_x = 16, local_size_y = 16) in;
layout(set = 0, binding = 0, std140) uniform Params { uint width, height, delta; } p;
layout(set = 0, binding = 8) uniform sampler2D inputTexture;
layout(set = 0, binding = 9) uniform writeonly image2D outputImage;

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  if (pos.x >= int(p.width) || pos.y >= int(p.height)) return;
  vec4 c = round(texelFetch(inputTexture, pos, 0) * 255.0);
  vec4 o = vec4(min(c.g + float(p.delta), 255.0), c.b, c.r, c.a);
  imageStore(outputImage, pos, o / 255.0);
}
