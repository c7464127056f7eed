#pragma once
// The fields of EditState, declared once. Everything that walks the fields expands this
// list: the record itself, its valid ranges, the field table of its coded form and of
// the command line's --set, and the parameter block's one-to-one members. Adding a field
// is one line here, plus its member of the parameter block and its use in a kernel.
//
// X(name, Type, initial, lower, upper, block), in the order of the record and of its
// coded form:
//   name          the member and its coding key
//   Type          std::int64_t, float, double, Bool or Rect
//   initial       the default
//   lower, upper  the valid range of a number: a Float at or below the lower end takes
//                 the lower end, above the upper end the upper end, and a NaN or an
//                 infinity its default; an Int is clamped. Unused for the other types.
//   block         Same: the parameter block has a member of this name that takes the
//                 cleaned value; Own: the block's own code handles it, or it never
//                 reaches a kernel.
#define HALVANE_EDIT_FIELDS(X)                                                                       \
  X(version, std::int64_t, 1, std::numeric_limits<std::int64_t>::min(),                              \
    std::numeric_limits<std::int64_t>::max(), Own)                                                   \
  X(exposure, float, 0, -3, 3, Same)                                                                 \
  X(brightness, float, 0, -1, 1, Same)                                                               \
  X(contrast, float, 1, 0.5f, 2, Same)                                                               \
  X(highlights, float, 0, -1, 1, Same)                                                               \
  X(shadows, float, 0, -1, 1, Same)                                                                  \
  X(whites, float, 0, -1, 1, Same)                                                                   \
  X(blacks, float, 0, -1, 1, Same)                                                                   \
  X(gamma, float, 1, 0.2f, 5, Same)                                                                  \
  X(saturation, float, 1, 0, 2, Same)                                                                \
  X(vibrance, float, 0, -1, 1, Same)                                                                 \
  X(temperature, float, 6500, 2000, 10000, Same)                                                     \
  X(tint, float, 0, -1, 1, Same)                                                                     \
  X(sharpness, float, 0, 0, 2, Same)                                                                 \
  X(clarity, float, 0, -1, 1, Same)                                                                  \
  X(vignetteIntensity, float, 0, 0, 2, Same)                                                         \
  X(vignetteRadius, float, 1, 0, 2, Same)                                                            \
  /* The upper end is the catalogue's largest number, which its tests hold to this. */             \
  X(filterType, std::int64_t, 0, 0, 146, Same)                                                       \
  X(filterIntensity, float, 1, 0, 1, Same)                                                           \
  X(flipHorizontal, Bool, false, 0, 0, Own)                                                          \
  X(rotationAngle, float, 0, -45, 45, Own)                                                           \
  X(rotationQuarterTurns, std::int64_t, 0, 0, 3, Own)                                                \
  X(focusMode, std::int64_t, 0, 0, 10, Same)                                                         \
  X(focusCenterX, float, 0.5f, 0, 1, Same)                                                           \
  X(focusCenterY, float, 0.5f, 0, 1, Same)                                                           \
  X(focusRadius, float, 0.25f, 0, 1, Same)                                                           \
  X(focusFeather, float, 0.5f, 0, 1, Same)                                                           \
  X(focusAngle, float, 0, -180, 180, Own)                                                            \
  X(focusStrength, float, 0, 0, 1, Same)                                                             \
  X(focusAspect, float, 1, 0.5f, 2, Same)                                                            \
  X(focusBokehHighlights, float, 0, 0, 1, Same)                                                      \
  X(irisBlades, std::int64_t, 6, 3, 9, Same)                                                         \
  X(irisRotation, float, 0, 0, 180, Own)                                                             \
  X(depthMix, float, 0, 0, 1, Same)                                                                  \
  X(focusDepth, float, 0.5f, 0, 1, Same)                                                             \
  X(edgeProtect, float, 0, 0, 1, Same)                                                               \
  X(cropRect, Rect, (Rect{0, 0, 1, 1}), 0, 0, Own)                                                   \
  X(trimStart, double, 0, 0, 0, Own)                                                                 \
  X(trimEnd, double, 0, 0, 0, Own)                                                                   \
  X(audioVolume, float, 1, 0, 2, Own)                                                                \
  X(audioMuted, Bool, false, 0, 0, Own)
