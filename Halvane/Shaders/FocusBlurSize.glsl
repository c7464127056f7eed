// How far each pixel is blurred, in output pixels, by mode. Every size scales with the
// shorter side of the output, so a thumbnail, a preview and an export of one edit look
// alike. Needs FocusRegion.glsl.

// Below this support radius (pixels) a pixel is sharp and copied exactly.
const float SHARP_RADIUS = 0.5;

bool isLensMode() {
  return u.focusMode == FOCUS_BOKEH || u.focusMode == FOCUS_IRIS;
}

bool isStreakMode() {
  return u.focusMode == FOCUS_ZOOM || u.focusMode == FOCUS_MOTION;
}

// The aperture polygon keeps the area of the disc it replaces, so changing the blade
// count changes the shape and not the amount of blur: circumradius over disc radius.
float polygonScale() {
  float n = float(u.irisBlades);
  return sqrt(6.2831853 / (n * sin(6.2831853 / n)));
}

// Sigma (pixels) of the smooth modes at a blur fraction (areaBlurFraction): the gaussians, and the depth mode's defocus disc
// of radius r, whose spread is that of a gaussian of sigma r / 2.
float smoothSigma(float blurFraction) {
  float size = blurFraction * u.focusStrength * focusShortSide();
  return u.focusMode == FOCUS_DEPTH ? 0.5 * LENS_RADIUS_FRACTION * size : GAUSS_SIGMA_FRACTION * size;
}

// The lens modes' aperture: the disc's radius or the polygon's circumradius (pixels).
float lensRadius(vec2 p) {
  float radius = LENS_RADIUS_FRACTION * ellipseBlurFraction(p) * u.focusStrength * focusShortSide();
  return u.focusMode == FOCUS_IRIS ? radius * polygonScale() : radius;
}

// Half the streak through p (pixels): zoom along the ray to the centre, as long as a
// fraction of the distance and centred on the pixel so that things keep their place;
// motion along focusAngle over the whole picture.
vec2 halfStreak(vec2 p) {
  if (u.focusMode == FOCUS_ZOOM) return 0.5 * ZOOM_SCALE_RANGE * u.focusStrength * (focusCentrePx() - p);
  float lengthPx = MOTION_LENGTH_FRACTION * u.focusStrength * focusShortSide();
  return 0.5 * lengthPx * vec2(cos(u.focusAngleRadians), sin(u.focusAngleRadians));
}

// Highlight expansion of the lens modes (see expandHighlights). The slider reads
// 1 + 3 x focusBokehHighlights, the gain of white. Bladed shapes only show in bright
// points, so the iris mode expands at least as much as the bokeh mode's default.
float highlightStrength() {
  if (!isLensMode()) return 0.0;
  float h = u.focusMode == FOCUS_IRIS ? max(u.focusBokehHighlights, 0.3) : u.focusBokehHighlights;
  return 1.0 - 1.0 / (1.0 + 3.0 * h);
}
