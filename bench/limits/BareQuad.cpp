#include "bench/limits/BareQuad.h"

#include <GLES2/gl2ext.h>

#include <array>
#include <stdexcept>

namespace quorvid::bench {
namespace {

constexpr const char* kVertexShader =
    "attribute vec2 position; varying vec2 at;"
    "void main() { gl_Position = vec4(position, 0, 1);"
    "  at = vec2(position.x, -position.y) * 0.5 + 0.5; }";
constexpr const char* kFragmentShader =
    "precision mediump float; varying highp vec2 at;"
    "uniform sampler2D luma, chroma; uniform mat3 matrix;"
    "void main() { vec3 yuv = vec3(texture2D(luma, at).r - 16.0 / 255.0,"
    "                              texture2D(chroma, at).rg - 0.5);"
    "  gl_FragColor = vec4(matrix * yuv, 1); }";
constexpr std::array<GLfloat, 9> k601{1.164F, 1.164F, 1.164F,  0.0F, -0.392F,
                                      2.017F, 1.596F, -0.813F, 0.0F};
constexpr std::array<GLfloat, 9> k709{1.164F, 1.164F, 1.164F,  0.0F, -0.213F,
                                      2.112F, 1.793F, -0.533F, 0.0F};
constexpr std::array<GLfloat, 8> kCorners{-1, -1, 1, -1, -1, 1, 1, 1};

void attach(GLuint program, GLenum kind, const char* text) {
  const GLuint shader = glCreateShader(kind);
  glShaderSource(shader, 1, &text, nullptr);
  glCompileShader(shader);
  glAttachShader(program, shader);
  glDeleteShader(shader);
}

void upload(GLenum unit, GLenum format, GLsizei width, GLsizei height, GLint stride,
            const std::uint8_t* bytes) {
  glActiveTexture(unit);
  glPixelStorei(GL_UNPACK_ROW_LENGTH_EXT, stride);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, format, GL_UNSIGNED_BYTE, bytes);
}

}  // namespace

void bindTarget(int width, int height) {
  GLuint renderbuffer = 0, framebuffer = 0;
  glGenRenderbuffers(1, &renderbuffer);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8_OES, width, height);
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
  glViewport(0, 0, width, height);
  glClearColor(0, 0, 0, 1);
}

BareQuad::BareQuad() {
  const GLuint program = glCreateProgram();
  attach(program, GL_VERTEX_SHADER, kVertexShader);
  attach(program, GL_FRAGMENT_SHADER, kFragmentShader);
  glBindAttribLocation(program, 0, "position");
  glLinkProgram(program);
  GLint linked = GL_FALSE;
  glGetProgramiv(program, GL_LINK_STATUS, &linked);
  if (linked != GL_TRUE) throw std::runtime_error("the shaders don't link");
  glUseProgram(program);
  glUniform1i(glGetUniformLocation(program, "luma"), 0);
  glUniform1i(glGetUniformLocation(program, "chroma"), 1);
  matrix_ = glGetUniformLocation(program, "matrix");
  glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, kCorners.data());
  glEnableVertexAttribArray(0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glGenTextures(2, textures_);
  for (GLuint i = 0; i < 2; ++i) {
    glActiveTexture(GL_TEXTURE0 + i);
    glBindTexture(GL_TEXTURE_2D, textures_[i]);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  }
}

void BareQuad::draw(const Nv12View& picture, bool is601) {
  const bool fits = picture.width == width_ && picture.height == height_;
  width_ = picture.width;
  height_ = picture.height;
  for (int i = 0; i < 2 && !fits; ++i) {
    const GLenum format = i == 0 ? GL_RED_EXT : GL_RG_EXT;
    glActiveTexture(GL_TEXTURE0 + i);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width_ / (i + 1), height_ / (i + 1),
                 0, format, GL_UNSIGNED_BYTE, nullptr);
  }
  upload(GL_TEXTURE0, GL_RED_EXT, width_, height_, picture.lumaStride, picture.luma);
  upload(GL_TEXTURE1, GL_RG_EXT, width_ / 2, height_ / 2, picture.chromaStride / 2, picture.chroma);
  glUniformMatrix3fv(matrix_, 1, GL_FALSE, (is601 ? k601 : k709).data());
  glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

}  // namespace quorvid::bench
