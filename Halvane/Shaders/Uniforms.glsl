// The 208-byte parameter block shared by the three compute kernels, at binding 0.
// std140 lays scalars out at 4-byte alignment, so this matches the CPU struct byte for
// byte; the reserved words keep the offsets.
layout(set = 0, binding = 0, std140) uniform RenderUniforms {
  float cropX;               // 0
  float cropY;               // 4
  float cropWidth;           // 8
  float cropHeight;          // 12
  float rotationRadians;     // 16
  uint quarterTurns;         // 20
  uint flipHorizontal;       // 24
  uint reserved0;            // 28
  uint sourceWidth;          // 32
  uint sourceHeight;         // 36
  uint croppedWidth;         // 40
  uint croppedHeight;        // 44
  uint outputWidth;          // 48
  uint outputHeight;         // 52
  uint reserved1;            // 56
  uint reserved2;            // 60
  float exposure;            // 64
  float brightness;          // 68
  float contrast;            // 72
  float highlights;          // 76
  float shadows;             // 80
  float whites;              // 84
  float blacks;              // 88
  float gamma;               // 92
  float saturation;          // 96
  float vibrance;            // 100
  float temperature;         // 104
  float tint;                // 108
  float sharpness;           // 112
  float clarity;             // 116
  float vignetteIntensity;   // 120
  float vignetteRadius;      // 124
  uint filterType;           // 128
  float filterIntensity;     // 132
  uint reserved3;            // 136
  uint reserved4;            // 140
  uint focusMode;            // 144
  float focusCenterX;        // 148
  float focusCenterY;        // 152
  float focusRadius;         // 156
  float focusFeather;        // 160
  float focusAngleRadians;   // 164
  float focusStrength;       // 168
  float focusAspect;         // 172
  float focusBokehHighlights;// 176
  uint irisBlades;           // 180
  float irisRotationRadians; // 184
  float depthMix;            // 188
  float focusDepth;          // 192
  float edgeProtect;         // 196
  uint finalOutput;          // 200
  uint reserved5;            // 204
} u;

// Kernels read texture 0 and write texture 1 (bindings 8 and 9).
layout(set = 0, binding = 8) uniform sampler2D inputTexture;
layout(set = 0, binding = 9) uniform writeonly image2D outputImage;
