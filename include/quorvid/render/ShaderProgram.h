// The shader program of the render layer: its two texts, its uniform locations and the matrices
// that turn Y'CbCr (video range) into RGB.
//
// Constant but for `uniforms`, which every layer fills when it links its program; main thread. All
// layers link the same texts and get the same locations.
#pragma once

#include <cstdint>

#include "quorvid/base/Export.h"

namespace quorvid {

// Indices into `uniforms`.
enum { UniformSamplerY, UniformSamplerUV, UniformPreferredRotation, UniformColorConversionMatrix };

// Indices of the vertex attributes `position` and `texCoord`.
enum { AttributePosition, AttributeTexCoord };

extern "C" {

// GLSL ES texts, one line each: 492 and 412 characters.
extern QUORVID_API const char* shader_vsh;
extern QUORVID_API const char* shader_fsh;

// Locations of SamplerY, SamplerUV, preferredRotation and colorConversionMatrix.
extern QUORVID_API std::int32_t uniforms[4];

// 3 x 3, column after column: the weights of Y', Cb and Cr in R, G and B.
extern QUORVID_API const float kColorConversion601[9];
extern QUORVID_API const float kColorConversion709[9];

}  // extern "C"

}  // namespace quorvid
