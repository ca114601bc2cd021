#include "quorvid/render/ShaderProgram.h"

#define BLANKS_4 "    "
#define BLANKS_31 "                               "
#define TABS_5_BLANKS_4 "\t\t\t\t\t    "

namespace quorvid {

// The position is a row vector: position * rotationMatrix.
const char* shader_vsh =
    "attribute vec4 position;attribute vec2 texCoord;uniform float preferredRotation;"
    "varying vec2 texCoordVarying;void main(){" BLANKS_4
    "mat4 rotationMatrix = mat4(cos(preferredRotation), -sin(preferredRotation), 0.0, "
    "0.0," BLANKS_31 "sin(preferredRotation),  cos(preferredRotation), 0.0, 0.0," BLANKS_31  //
    "0.0," TABS_5_BLANKS_4 "0.0, 1.0, 0.0," BLANKS_31                                        //
    "0.0," TABS_5_BLANKS_4 "0.0, 0.0, 1.0);" BLANKS_4                                        //
    "gl_Position = position * rotationMatrix;" BLANKS_4                                      //
    "texCoordVarying = texCoord;}";

// Black is Y' = 16/255 with both chroma samples at one half.
const char* shader_fsh =
    "varying highp vec2 texCoordVarying;precision mediump float;uniform sampler2D SamplerY;"
    "uniform sampler2D SamplerUV;uniform mat3 colorConversionMatrix;void main(){" BLANKS_4
    "mediump vec3 yuv;" BLANKS_4  //
    "lowp vec3 rgb;" BLANKS_4     //
    "yuv.x = (texture2D(SamplerY, texCoordVarying).r - (16.0/255.0));" BLANKS_4
    "yuv.yz = (texture2D(SamplerUV, texCoordVarying).rg - vec2(0.5, 0.5));" BLANKS_4
    "rgb = colorConversionMatrix * yuv;" BLANKS_4  //
    "gl_FragColor = vec4(rgb, 1);}";

std::int32_t uniforms[4];

// ITU-R BT.601, the matrix of standard definition television.
const float kColorConversion601[9] = {
    1.164F, 1.164F,  1.164F,  // Y'
    0.0F,   -0.392F, 2.017F,  // Cb
    1.596F, -0.813F, 0.0F,    // Cr
};

// ITU-R BT.709, the matrix of high definition television.
const float kColorConversion709[9] = {
    1.164F, 1.164F,  1.164F,  // Y'
    0.0F,   -0.213F, 2.112F,  // Cb
    1.793F, -0.533F, 0.0F,    // Cr
};

}  // namespace quorvid
