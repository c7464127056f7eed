#version 450
// The focus pass as one 2D gather per pixel, kept as the reference that the engine's
// levelled focus pass is measured against: eleven effects that blur parts of the
// picture, by focusMode.
//
// Every blur averages linear light. Area modes (radial, linear, mirrored, gaussian,
// bokeh, iris, depth, edge) give each pixel its own blur radius, from zero at the edge
// of the sharp region to the full radius at the outer edge of the feather: a variable
// radius, never a blend of a sharp and a blurred copy. Streak modes (zoom, motion)
// integrate along a line.
//
// Area modes gather from a grid in group-shared memory: the group's 16 by 16 tile and
// the margin its largest radius needs, averaged into square cells whose size follows
// the group's smallest radius (so a cell is a small fraction of every kernel it feeds:
// a gaussian's sigma spans 1.5 cells in a preview and 3 in a finished image, a disc's
// radius 6 and 12). Each cell holds the exact mean of its texels in linear light and
// the fraction of them inside the picture, so kernels are renormalised at the borders
// instead of smearing the edge pixels. Gathering every cell under the kernel is
// deterministic: no noise, no ghost copies, and a highlight spreads into a clean disc.
// A pixel whose radius is small next to the cells (steep ramps) gathers texels
// directly. Sharp pixels are copied exactly, so strength 0 and the sharp region are
// an exact identity.
//
// Sizes scale with the shorter side of the output, so a thumbnail, a preview and an
// export of one edit look alike; finalOutput only spends more samples.
layout(local_size_x = 16, local_size_y = 16) in;
#include "Uniforms.glsl"
#include "FocusLight.glsl"
#include "FocusRegion.glsl"

const int TILE = 16;
const int GRID = 43;  // cells per side: 2 x 43 x 43 words = 14792 bytes; 15824 in all, under 16 KiB
shared uint cellRedGreen[GRID * GRID];    // packHalf2x16 of the mean linear red, green
shared uint cellBlueCoverage[GRID * GRID];  // mean linear blue, fraction inside the picture
shared float srgbToLinearTable[256];
shared uint groupMinRadiusBits;
shared uint groupMaxRadiusBits;

const int KERNEL_GAUSS = 0;      // radial, linear, mirrored, gaussian
const int KERNEL_DISC = 1;       // bokeh, depth: a lens's round aperture
const int KERNEL_POLYGON = 2;    // iris: a bladed aperture
const int KERNEL_BILATERAL = 3;  // edge: a gaussian that edges stop

// Below this support radius (pixels) a pixel is sharp and copied.
const float SHARP_RADIUS = 0.5;
// A pixel for which the group's cells are too coarse (its kernel is small next to the
// group's largest, or the grid had to coarsen to hold the margin) gathers texels
// directly when its support is at most this many pixels.
float directMaxRadius() {
  return u.finalOutput != 0u ? 16.0 : 8.0;
}

int kernelKind() {
  switch (u.focusMode) {
    case FOCUS_BOKEH:
    case FOCUS_DEPTH:
      return KERNEL_DISC;
    case FOCUS_IRIS:
      return KERNEL_POLYGON;
    case FOCUS_EDGE:
      return KERNEL_BILATERAL;
    default:
      return KERNEL_GAUSS;
  }
}

bool finalQuality() {
  return u.finalOutput != 0u;
}

// Cells the support radius should span, by kernel: a gaussian's support is 3 sigma.
float cellsPerSupport(int kind) {
  float preview = kind == KERNEL_GAUSS ? 4.5 : 6.0;
  return finalQuality() ? 2.0 * preview : preview;
}

// The aperture polygon keeps the area of the disc it replaces, so changing the blade
// count changes the shape and not the amount of blur: circumradius over disc radius.
float polygonScale() {
  float n = float(u.irisBlades);
  return sqrt(6.2831853 / (n * sin(6.2831853 / n)));
}

// Support radius of the pixel's kernel in pixels: 3 sigma for the gaussians, the disc's
// radius, or the polygon's circumradius.
float supportRadius(vec2 p, int kind) {
  float fraction = areaBlurFraction(p);
  float size = fraction * u.focusStrength * focusShortSide();
  if (kind == KERNEL_GAUSS || kind == KERNEL_BILATERAL) return 3.0 * GAUSS_SIGMA_FRACTION * size;
  float radius = LENS_RADIUS_FRACTION * size;
  return kind == KERNEL_POLYGON ? radius * polygonScale() : radius;
}

// Highlight expansion of the lens modes (see expandHighlights). The slider reads
// 1 + 3 x focusBokehHighlights, the gain of white. Bladed shapes only show in bright
// points, so the iris mode expands at least as much as the bokeh mode's default.
float highlightStrength() {
  float h = u.focusBokehHighlights;
  if (u.focusMode == FOCUS_IRIS) h = max(h, 0.3);
  else if (u.focusMode != FOCUS_BOKEH && u.focusMode != FOCUS_DEPTH) h = 0.0;
  float gain = 1.0 + 3.0 * h;
  return 1.0 - 1.0 / gain;
}

// One pixel's kernel: its support radius in pixels (3 sigma, the disc's radius or the
// polygon's circumradius) and the width `aa` of the antialiased rim of disc and polygon.
struct Kernel {
  int kind;
  float support;
  float invTwoSigmaSq;
  float aa;
  float inradius;
};

vec2 bladeNormals[9];  // edge normals of the aperture polygon, set once per pixel

// Weight of a sample at offset o (pixels) from the pixel.
float kernelWeight(Kernel k, vec2 o) {
  float d = length(o);
  if (k.kind == KERNEL_GAUSS || k.kind == KERNEL_BILATERAL) {
    return d > k.support ? 0.0 : exp(-d * d * k.invTwoSigmaSq);
  }
  if (k.kind == KERNEL_DISC) {
    return clamp((k.support - d) / k.aa + 0.5, 0.0, 1.0);
  }
  // Signed distance to a convex polygon: the largest distance past its edges.
  float outside = -1e30;
  for (uint b = 0u; b < u.irisBlades; ++b) outside = max(outside, dot(o, bladeNormals[b]) - k.inradius);
  return clamp(-outside / k.aa + 0.5, 0.0, 1.0);
}

Kernel makeKernel(int kind, float support, float cellSize) {
  Kernel k;
  k.kind = kind;
  k.support = support;
  float sigma = support / 3.0;
  k.invTwoSigmaSq = 1.0 / max(2.0 * sigma * sigma, 1e-6);
  k.aa = max(cellSize, 1.0);
  float n = float(u.irisBlades);
  k.inradius = support * cos(3.14159265 / n);
  return k;
}

// Edge protection: colours are compared on a square-root scale, close to how the eye
// grades them. focusStrength sets the spatial size; edgeProtect how far a colour may
// differ before it stops counting (0: never, a plain gaussian).
float rangeWeightScale() {
  float e = u.edgeProtect;
  float sigmaRange = 0.04;  // at edgeProtect 1, about 10 code values
  return e * e / (2.0 * sigmaRange * sigmaRange);
}

float rangeWeight(vec3 linearMean, vec3 centrePerceptual, float scale) {
  vec3 diff = sqrt(max(linearMean, 0.0)) - centrePerceptual;
  return exp(-dot(diff, diff) * scale);
}

vec3 decodeTexel(ivec2 t) {
  vec3 c = texelFetch(inputTexture, t, 0).rgb;
  ivec3 index = ivec3(c * 255.0 + 0.5);
  return vec3(srgbToLinearTable[index.r], srgbToLinearTable[index.g], srgbToLinearTable[index.b]);
}

ivec2 outputSize() {
  return ivec2(u.outputWidth, u.outputHeight);
}

// Interleaved gradient noise: a well spread per-pixel offset in [0, 1).
float pixelJitter(ivec2 pos) {
  return fract(52.9829189 * fract(dot(vec2(pos), vec2(0.06711056, 0.00583715))));
}

// Linear light at a point between texel centres: the four texels around it decoded
// first and then interpolated, so that even a sub-pixel step averages light.
vec3 linearAt(vec2 point) {
  vec2 t = point - 0.5;
  ivec2 base = ivec2(floor(t));
  vec2 f = t - vec2(base);
  ivec2 top = outputSize() - 1;
  vec3 c00 = decodeTexel(clamp(base, ivec2(0), top));
  vec3 c10 = decodeTexel(clamp(base + ivec2(1, 0), ivec2(0), top));
  vec3 c01 = decodeTexel(clamp(base + ivec2(0, 1), ivec2(0), top));
  vec3 c11 = decodeTexel(clamp(base + ivec2(1, 1), ivec2(0), top));
  return mix(mix(c00, c10, f.x), mix(c01, c11, f.x), f.y);
}

// Mean linear light along the segment from a to b (pixels), stratified with a
// per-pixel offset, skipping samples outside the picture.
vec3 streakMean(vec2 a, vec2 b, float lengthPx, ivec2 pos) {
  float spacing = finalQuality() ? 0.5 : 1.0;
  int maxSamples = finalQuality() ? 256 : 64;
  int count = clamp(int(ceil(lengthPx / spacing)) + 1, 2, maxSamples);
  vec2 size = vec2(outputSize());
  float jitter = pixelJitter(pos);
  vec3 sum = vec3(0.0);
  float weight = 0.0;
  for (int i = 0; i < count; ++i) {
    vec2 s = mix(a, b, (float(i) + jitter) / float(count));
    if (any(lessThan(s, vec2(0.0))) || any(greaterThan(s, size))) continue;
    sum += linearAt(s);
    weight += 1.0;
  }
  return sum / max(weight, 1.0);
}

void streakPass(ivec2 pos) {
  vec4 centre = texelFetch(inputTexture, pos, 0);
  vec2 p = vec2(pos) + 0.5;
  vec2 halfStreak;
  if (u.focusMode == FOCUS_ZOOM) {
    // A zoom during the exposure: a streak along the ray to the centre, as long as a
    // fraction of the distance, centred on the pixel so that things keep their place.
    halfStreak = 0.5 * ZOOM_SCALE_RANGE * u.focusStrength * (focusCentrePx() - p);
  } else {
    // A steady movement along focusAngle over the whole picture.
    float lengthPx = MOTION_LENGTH_FRACTION * u.focusStrength * focusShortSide();
    halfStreak = 0.5 * lengthPx * vec2(cos(u.focusAngleRadians), sin(u.focusAngleRadians));
  }
  float lengthPx = 2.0 * length(halfStreak);
  if (lengthPx < SHARP_RADIUS) {
    imageStore(outputImage, pos, centre);
    return;
  }
  vec3 mean = streakMean(p - halfStreak, p + halfStreak, lengthPx, pos);
  imageStore(outputImage, pos, vec4(linearToSrgb(mean), centre.a));
}

// Adds one cell of the grid with kernel weight w (and, for the edge mode, the weight
// of its colour against the pixel's).
void addCell(int slot, float w, float rangeScale, vec3 centrePerceptual, inout vec3 sum, inout float weight) {
  if (w <= 0.0) return;
  vec2 rg = unpackHalf2x16(cellRedGreen[slot]);
  vec2 bc = unpackHalf2x16(cellBlueCoverage[slot]);
  vec3 mean = vec3(rg, bc.x);
  if (rangeScale > 0.0) {
    if (bc.y <= 0.0) return;
    w *= rangeWeight(mean / bc.y, centrePerceptual, rangeScale);
  }
  sum += w * mean;
  weight += w * bc.y;
}

// Horizontal offsets (pixels) between which a point at vertical offset dy lies wholly
// inside the disc or polygon, rim excluded: there the weight is exactly 1. Empty when
// x > y.
vec2 apertureInteriorSpan(Kernel k, float dy) {
  float inset = 0.5 * k.aa;
  if (k.kind == KERNEL_DISC) {
    float r = k.support - inset;
    if (r <= abs(dy)) return vec2(1.0, -1.0);
    float halfWidth = sqrt(r * r - dy * dy);
    return vec2(-halfWidth, halfWidth);
  }
  vec2 span = vec2(-1e30, 1e30);
  for (uint b = 0u; b < u.irisBlades; ++b) {
    vec2 n = bladeNormals[b];
    float limit = k.inradius - inset - n.y * dy;  // n.x * dx must stay at or below this
    if (abs(n.x) < 1e-6) {
      if (limit < 0.0) return vec2(1.0, -1.0);
    } else if (n.x > 0.0) {
      span.y = min(span.y, limit / n.x);
    } else {
      span.x = max(span.x, limit / n.x);
    }
  }
  return span;
}

void main() {
  ivec2 pos = ivec2(gl_GlobalInvocationID.xy);
  bool inside = all(lessThan(pos, outputSize()));

  if (u.focusStrength <= 0.0 || u.focusMode == 0u || u.focusMode > FOCUS_EDGE) {
    if (inside) imageStore(outputImage, pos, texelFetch(inputTexture, pos, 0));
    return;
  }
  // Every branch below depends only on values shared by the whole group, so all its
  // threads, inside the picture or not, reach every barrier.
  uint local = gl_LocalInvocationIndex;
  srgbToLinearTable[local] = srgbToLinear(float(local) / 255.0);
  if (local == 0u) {
    groupMinRadiusBits = floatBitsToUint(3.0e38);
    groupMaxRadiusBits = 0u;
  }
  barrier();
  if (u.focusMode == FOCUS_ZOOM || u.focusMode == FOCUS_MOTION) {
    if (inside) streakPass(pos);
    return;
  }

  // Area modes: every thread helps to build the grid.
  int kind = kernelKind();
  vec2 p = vec2(pos) + 0.5;
  float support = inside ? supportRadius(p, kind) : 0.0;
  if (support >= SHARP_RADIUS) {
    atomicMin(groupMinRadiusBits, floatBitsToUint(support));
    atomicMax(groupMaxRadiusBits, floatBitsToUint(support));
  }
  barrier();
  float minSupport = uintBitsToFloat(groupMinRadiusBits);
  float maxSupport = uintBitsToFloat(groupMaxRadiusBits);
  if (maxSupport < SHARP_RADIUS) {  // the whole tile is sharp
    if (inside) imageStore(outputImage, pos, texelFetch(inputTexture, pos, 0));
    return;
  }

  // Cell size: as coarse as the smallest kernel allows, and coarse enough that the
  // grid covers the tile and the largest kernel's reach.
  int cellSize = max(1, int(floor(minSupport / cellsPerSupport(kind))));
  cellSize = max(cellSize, int(ceil((float(TILE) + 2.0 + 2.0 * maxSupport) / float(GRID - 4))));
  // The margin reaches past the largest kernel's antialiased rim, half a cell.
  int margin = cellSize * int(ceil((maxSupport + 0.5 * float(cellSize) + 1.0) / float(cellSize)));
  int cells = (TILE + cellSize - 1) / cellSize + 2 * margin / cellSize;
  ivec2 gridOrigin = ivec2(gl_WorkGroupID.xy) * TILE - margin;

  float a = highlightStrength();
  ivec2 size = outputSize();
  float invArea = 1.0 / float(cellSize * cellSize);
  for (int c = int(local); c < cells * cells; c += TILE * TILE) {
    ivec2 cell = ivec2(c % cells, c / cells);
    ivec2 lo = gridOrigin + cell * cellSize;
    ivec2 from = max(lo, ivec2(0));
    ivec2 to = min(lo + cellSize, size);
    vec3 sum = vec3(0.0);
    for (int y = from.y; y < to.y; ++y) {
      for (int x = from.x; x < to.x; ++x) {
        vec3 l = decodeTexel(ivec2(x, y));
        sum += a > 0.0 ? expandHighlights(l, a) : l;
      }
    }
    float covered = float(max(to.x - from.x, 0) * max(to.y - from.y, 0));
    int slot = cell.y * GRID + cell.x;
    cellRedGreen[slot] = packHalf2x16(sum.rg * invArea);
    cellBlueCoverage[slot] = packHalf2x16(vec2(sum.b * invArea, covered * invArea));
  }
  barrier();

  if (!inside) return;
  vec4 centre = texelFetch(inputTexture, pos, 0);
  if (support < SHARP_RADIUS) {
    imageStore(outputImage, pos, centre);
    return;
  }

  if (kind == KERNEL_POLYGON) {
    float n = float(u.irisBlades);
    // The first vertex points up at irisRotation 0; normals sit between vertices.
    for (uint b = 0u; b < u.irisBlades; ++b) {
      float angle = -1.5707963 + u.irisRotationRadians + (float(b) + 0.5) * 6.2831853 / n;
      bladeNormals[b] = vec2(cos(angle), sin(angle));
    }
  }
  float rangeScale = kind == KERNEL_BILATERAL ? rangeWeightScale() : 0.0;
  vec3 centreLinear = decodeTexel(pos);
  vec3 centrePerceptual = sqrt(centreLinear);

  vec3 sum = vec3(0.0);
  float weight = 0.0;
  float wantedCell = max(support / cellsPerSupport(kind), 1.0);
  if (float(cellSize) > 1.5 * wantedCell && support <= directMaxRadius()) {
    // Too small for the cells: gather texels, one cell a texel.
    Kernel k = makeKernel(kind, support, 1.0);
    int reach = int(ceil(support + 0.5));
    for (int dy = -reach; dy <= reach; ++dy) {
      for (int dx = -reach; dx <= reach; ++dx) {
        ivec2 t = pos + ivec2(dx, dy);
        if (any(lessThan(t, ivec2(0))) || any(greaterThanEqual(t, size))) continue;
        float w = kernelWeight(k, vec2(dx, dy));
        if (w <= 0.0) continue;
        vec3 l = decodeTexel(t);
        if (rangeScale > 0.0) w *= rangeWeight(l, centrePerceptual, rangeScale);
        sum += w * (a > 0.0 ? expandHighlights(l, a) : l);
        weight += w;
      }
    }
  } else {
    Kernel k = makeKernel(kind, support, float(cellSize));
    float s = float(cellSize);
    vec2 q = (p - vec2(gridOrigin)) / s;  // the pixel in cell units
    float reach = support / s + 0.5;
    int j0 = max(0, int(floor(q.y - reach)));
    int j1 = min(cells - 1, int(floor(q.y + reach)));
    bool gaussian = kind == KERNEL_GAUSS || kind == KERNEL_BILATERAL;
    // Along a row, each next gaussian weight is the last times a ratio that itself
    // shrinks by a constant factor, so the inner loop needs no exponential.
    float ratioStep = exp(-2.0 * s * s * k.invTwoSigmaSq);
    float supportSq = support * support;
    for (int j = j0; j <= j1; ++j) {
      float dy = (float(j) + 0.5 - q.y) * s;
      float extent = sqrt(max(reach * reach - dy * dy / (s * s), 0.0));
      int i0 = max(0, int(floor(q.x - extent)));
      int i1 = min(cells - 1, int(floor(q.x + extent)));
      int row = j * GRID;
      if (gaussian) {
        float dx = (float(i0) + 0.5 - q.x) * s;
        float w = exp(-(dx * dx + dy * dy) * k.invTwoSigmaSq);
        float ratio = exp(-(2.0 * dx * s + s * s) * k.invTwoSigmaSq);
        for (int i = i0; i <= i1; ++i) {
          if (dx * dx + dy * dy <= supportSq) addCell(row + i, w, rangeScale, centrePerceptual, sum, weight);
          w *= ratio;
          ratio *= ratioStep;
          dx += s;
        }
      } else {
        // Cells wholly inside the aperture weigh 1; only the rim computes its weight.
        vec2 span = apertureInteriorSpan(k, dy);
        int a = max(int(ceil(q.x + span.x / s - 0.5)), i0);
        int b = min(int(floor(q.x + span.y / s - 0.5)), i1);
        if (a > b) a = i1 + 1, b = i1;
        for (int i = i0; i < a; ++i)
          addCell(row + i, kernelWeight(k, vec2((float(i) + 0.5 - q.x) * s, dy)), 0.0, centrePerceptual, sum, weight);
        for (int i = a; i <= b; ++i) addCell(row + i, 1.0, 0.0, centrePerceptual, sum, weight);
        for (int i = b + 1; i <= i1; ++i)
          addCell(row + i, kernelWeight(k, vec2((float(i) + 0.5 - q.x) * s, dy)), 0.0, centrePerceptual, sum, weight);
      }
    }
    if (rangeScale > 0.0) {
      // The pixel itself, at the weight of one texel, so that a pixel no cell resembles
      // keeps its own colour.
      float w = 1.0 / (s * s);
      sum += w * centreLinear;
      weight += w;
    }
  }
  if (weight <= 0.0) {
    imageStore(outputImage, pos, centre);
    return;
  }
  vec3 mean = sum / weight;
  if (a > 0.0) mean = compressHighlights(mean, a);
  imageStore(outputImage, pos, vec4(linearToSrgb(mean), centre.a));
}
