// Where the focus pass blurs and how much. Everything here is a pure function of the
// pixel's position and the parameter block, in output pixels, so it matches what the
// focus overlay draws over the same picture: the centre is a fraction of the output,
// R = shorter side x focusRadius x 0.5, the feather band runs from R to
// R x (1 + focusFeather), and focusAspect stretches the ellipse horizontally.

const uint FOCUS_RADIAL = 1u;
const uint FOCUS_LINEAR = 2u;
const uint FOCUS_MIRRORED = 3u;
const uint FOCUS_GAUSSIAN = 4u;
const uint FOCUS_ZOOM = 5u;
const uint FOCUS_MOTION = 6u;
const uint FOCUS_BOKEH = 7u;
const uint FOCUS_IRIS = 8u;
const uint FOCUS_DEPTH = 9u;
const uint FOCUS_EDGE = 10u;

// Full blur sizes at focusStrength 1, as fractions of the shorter side, so that one
// edit blurs a thumbnail, a preview and an export alike.
const float GAUSS_SIGMA_FRACTION = 0.012;   // radial, linear, mirrored, gaussian, edge
const float LENS_RADIUS_FRACTION = 0.03;    // bokeh, iris, depth: the defocus disc
const float MOTION_LENGTH_FRACTION = 0.08;  // motion: whole streak length
const float ZOOM_SCALE_RANGE = 0.25;        // zoom: streak length / distance to centre

float focusShortSide() {
  return float(min(u.outputWidth, u.outputHeight));
}

vec2 focusCentrePx() {
  return vec2(u.focusCenterX * float(u.outputWidth), u.focusCenterY * float(u.outputHeight));
}

float focusInnerRadiusPx() {
  return focusShortSide() * u.focusRadius * 0.5;
}

// 0 up to the inner boundary, 1 from the outer boundary on, a smooth rise between.
// A feather of 0 is a hard edge.
float featherRamp(float distancePx, float innerPx) {
  float outerPx = innerPx * (1.0 + u.focusFeather);
  if (outerPx <= innerPx) return distancePx > innerPx ? 1.0 : 0.0;
  return smoothstep(innerPx, outerPx, distancePx);
}

// The ellipse of the radial, lens and depth modes: semi-axes R x focusAspect across and
// R down. The distance is scaled so that the ellipse is a circle of radius R.
float ellipseBlurFraction(vec2 p) {
  vec2 d = p - focusCentrePx();
  d.x /= u.focusAspect;
  return featherRamp(length(d), focusInnerRadiusPx());
}

// Signed distance from the centre across the lines of the linear and mirrored modes:
// the lines run along (cos a, sin a) in picture coordinates (y down) and are offset
// along the normal (-sin a, cos a).
float lineNormalDistance(vec2 p) {
  vec2 n = vec2(-sin(u.focusAngleRadians), cos(u.focusAngleRadians));
  return dot(p - focusCentrePx(), n);
}

// Mean luminance contrast of a 3 by 3 neighbourhood spread over a small fraction of the
// picture: 0 on flat areas, 1 on sharp detail. Smooth in position, so a blur radius
// that depends on it does not flicker from pixel to pixel.
float localDetailIn(sampler2D picture, vec2 p) {
  float spacing = max(1.0, 0.004 * focusShortSide());
  vec2 size = vec2(float(u.outputWidth), float(u.outputHeight));
  float sum = 0.0, sumSq = 0.0;
  for (int j = -1; j <= 1; ++j) {
    for (int i = -1; i <= 1; ++i) {
      vec3 c = textureLod(picture, (p + vec2(i, j) * spacing) / size, 0.0).rgb;
      float l = dot(c, vec3(0.2126, 0.7152, 0.0722));
      sum += l;
      sumSq += l * l;
    }
  }
  float mean = sum / 9.0;
  float deviation = sqrt(max(sumSq / 9.0 - mean * mean, 0.0));
  return smoothstep(0.015, 0.12, deviation);
}

// Depth without a depth map. Position gives the base, as in most photographs: the
// bottom of the frame is nearest (0), the top farthest (1). The plane of focus passes
// through the focus centre, moved by focusDepth - 0.5, so a tap on a subject focuses
// there. Sharp, contrasty areas are taken to lie near the plane of focus (they are
// what the camera focused on); flat areas such as sky keep their distance.
float localDetail(vec2 p) {
  return localDetailIn(inputTexture, p);
}

// `detail` is localDetail at p, or a close interpolation of it.
float depthBlurFractionWithDetail(vec2 p, float detail) {
  float height = float(u.outputHeight);
  float depth = 1.0 - p.y / height;
  float plane = clamp(1.0 - u.focusCenterY + (u.focusDepth - 0.5), 0.0, 1.0);
  float separation = abs(depth - plane) * (1.0 - 0.6 * detail);
  // A small depth of field around the plane, then blur growing with the distance.
  float depthFraction = smoothstep(0.04, 0.45, separation);
  return ellipseBlurFraction(p) * mix(1.0, depthFraction, u.depthMix);
}

float depthBlurFraction(vec2 p) {
  return depthBlurFractionWithDetail(p, localDetail(p));
}

// The blur fraction of the pixel, from 0 (sharp) to 1 (full blur), for every mode that
// gathers over an area.
float areaBlurFraction(vec2 p) {
  switch (u.focusMode) {
    case FOCUS_RADIAL:
    case FOCUS_BOKEH:
    case FOCUS_IRIS:
      return ellipseBlurFraction(p);
    case FOCUS_LINEAR:
      return featherRamp(lineNormalDistance(p), focusInnerRadiusPx());
    case FOCUS_MIRRORED:
      return featherRamp(abs(lineNormalDistance(p)), focusInnerRadiusPx());
    case FOCUS_DEPTH:
      return depthBlurFraction(p);
    default:  // gaussian, edge: the whole picture
      return 1.0;
  }
}
