// Light for the focus pass: the sRGB transfer curve, so that every blur averages light
// and not code values, and the highlight expansion of the lens modes.

float srgbToLinear(float c) {
  return c <= 0.04045 ? c / 12.92 : pow((c + 0.055) / 1.055, 2.4);
}

float linearToSrgb(float l) {
  l = clamp(l, 0.0, 1.0);
  return l <= 0.0031308 ? l * 12.92 : 1.055 * pow(l, 1.0 / 2.4) - 0.055;
}

vec3 linearToSrgb(vec3 l) {
  return vec3(linearToSrgb(l.r), linearToSrgb(l.g), linearToSrgb(l.b));
}

float focusLuminance(vec3 linearRgb) {
  return dot(linearRgb, vec3(0.2126, 0.7152, 0.0722));
}

// A clipped highlight stood for far more light than its code value says. Before a lens
// blur the colour is expanded by 1 / (1 - a L), L its linear luminance, so white gains
// the factor m = 1 / (1 - a) and mid-tones little; after the gather the mean is
// compressed by 1 / (1 + a L'). The pair is an exact inverse, so an unblurred pixel
// comes back as it was, while a bright point spread over a disc keeps its brightness
// and blooms instead of fading to grey. `a` is 0 when there is no boost.
vec3 expandHighlights(vec3 linearRgb, float a) {
  return linearRgb / (1.0 - a * focusLuminance(linearRgb));
}

vec3 compressHighlights(vec3 expanded, float a) {
  return expanded / (1.0 + a * focusLuminance(expanded));
}
