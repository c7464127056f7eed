// The second block of the focus pass's steps, at binding 1 (the parameter block stays
// at binding 0), and how its levels store light. The CPU mirror is FocusStep in
// Halvane/Rendering/FocusPass.h; both change together.
layout(set = 0, binding = 1, std140) uniform FocusStepBlock {
  uint inputWidth;    // 0: texels of texture 0
  uint inputHeight;   // 4
  uint targetWidth;   // 8: texels this step writes
  uint targetHeight;  // 12
  uint factor;        // 16: output pixels per texel of the level written (composite: read)
  uint axis;          // 20: blur: 0 along x, 1 along y
  float sigma;        // 24: blur: sigma in texels
  uint sourceInput;   // 28: 1 when texture 0 holds code values of the picture, 0 a level
  uint levelCount;    // 32: composite: the levels bound from texture 2 on (may be none)
  uint storeDetail;   // 36: blur: 1 to keep the depth mode's localDetail in alpha
  uint reserved1;     // 40
  uint reserved2;     // 44
} focusStep;

// Levels keep linear light as its square root in 8 bits: dark tones keep finer steps
// than the picture's own code values, and decoding is one multiplication. The lens
// modes' levels hold light with the highlight boost already compressed again
// (FocusLight.glsl), so a level is always ordinary light between 0 and 1.
vec3 decodeLevel(vec3 stored) {
  return stored * stored;
}

vec4 encodeLevel(vec3 linearRgb) {
  return vec4(sqrt(clamp(linearRgb, 0.0, 1.0)), 1.0);
}

ivec2 stepTargetSize() {
  return ivec2(focusStep.targetWidth, focusStep.targetHeight);
}

ivec2 stepInputSize() {
  return ivec2(focusStep.inputWidth, focusStep.inputHeight);
}
