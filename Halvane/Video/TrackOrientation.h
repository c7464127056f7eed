#pragma once
// How a video track is turned for display: its transform read as whole clockwise
// quarter turns, the upright size it gives, and the edit that bakes the turn into the
// pixels. Pure functions, any thread.
#ifndef HALVANE_INSIDE_HalvaneVideo
#error "a private header of Halvane/Video: include its public headers"
#endif
#include <cstdint>
#include <optional>

#include "Halvane/Model/EditState.h"
#include "Platform/Media/AssetTypes.h"

namespace halvane {

// 1, 2 or 3 when (a, b, c, d) is within 0.01 of (0, 1, -1, 0), (-1, 0, 0, -1) or
// (0, -1, 1, 0); 0 for anything else, a scale or shear included. tx and ty play no part.
std::int64_t quarterTurnsFromTransform(const platform::media::AffineTransform& transform);

// The bounding box of the rectangle at the origin with `naturalSize` after the
// transform, as absolute width and height: the upright size for a quarter turn.
platform::media::MediaSize uprightSize(const platform::media::AffineTransform& transform,
                                       platform::media::MediaSize naturalSize);

// The whole-number part of a side for the engine's size arithmetic. A side that can't
// be an integer (not finite, or beyond 64 bits) stops the program: no track gives one.
std::uint64_t wholePixels(double side);

// The default edit with only rotationQuarterTurns set; none for 0 turns.
std::optional<EditState> orientationState(std::int64_t quarterTurns);

}  // namespace halvane
