#ifndef HALVANE_COLOR_FEATURES_GLSL
#define HALVANE_COLOR_FEATURES_GLSL
// The parts of the colour pass that an edit can leave unused, one bit each. The engine
// picks a variant of the colour kernel compiled for the bits an edit needs (a
// specialization constant), so a variant carries no code for the rest; a variant with a
// bit set still tests the value at run time, so every variant computes exactly what the
// general kernel (all bits) computes. Read by the kernel and by the engine's C++.
#define COLOR_FEATURE_WHITE_BALANCE 0x1u  // temperature or tint
#define COLOR_FEATURE_EXPOSURE 0x2u
#define COLOR_FEATURE_SATURATION 0x4u
#define COLOR_FEATURE_VIBRANCE 0x8u
#define COLOR_FEATURE_BRIGHTNESS 0x10u
#define COLOR_FEATURE_CONTRAST 0x20u
#define COLOR_FEATURE_TONE_REGIONS 0x40u  // highlights, shadows, whites or blacks
#define COLOR_FEATURE_GAMMA 0x80u
#define COLOR_FEATURE_SHARPNESS 0x100u  // also the group's tile of neighbours
#define COLOR_FEATURE_CLARITY 0x200u
#define COLOR_FEATURE_VIGNETTE 0x400u
#define COLOR_FEATURE_LOOK 0x800u
#define COLOR_FEATURES_ALL 0xFFFu

// COLOR_USES(feature): whether this compilation carries the feature's code. Sources
// compiled once for every setting (the CPU reference) carry all of it.
#ifndef COLOR_USES
#define COLOR_USES(feature) true
#endif

#endif
