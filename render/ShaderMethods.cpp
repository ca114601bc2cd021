// The shader operations of AAPLEAGLLayer: compiling, linking and validating.
#include <GLES2/gl2.h>

#include <cstdio>
#include <vector>

#include "quorvid/base/Log.h"
#include "quorvid/render/AAPLEAGLLayer.h"
#include "render/TextFile.h"

namespace quorvid {
namespace {

using LogGetter = void (*)(GLuint object, GLsizei size, GLsizei* length, GLchar* text);

// `length` counts the closing zero; what GL has to say is nothing when it is 0.
void printLog(const char* title, GLuint object, GLint length, LogGetter getLog) {
  if (length <= 0) return;
  std::vector<GLchar> text(static_cast<std::size_t>(length) + 1);
  getLog(object, length, nullptr, text.data());
  std::printf("%s log:\n%s", title, text.data());
}

void deleteShader(GLuint shader) {
  if (shader != 0) glDeleteShader(shader);
}

}  // namespace

bool AAPLEAGLLayer::loadShaders() {
  GLuint vertShader = 0;
  GLuint fragShader = 0;
  _program = glCreateProgram();
  if (!compileShaderString(&vertShader, GL_VERTEX_SHADER, shader_vsh)) {
    logMessage("Failed to compile vertex shader");
    return false;
  }
  if (!compileShaderString(&fragShader, GL_FRAGMENT_SHADER, shader_fsh)) {
    logMessage("Failed to compile fragment shader");
    deleteShader(vertShader);  // not attached to the program: nothing else would ever delete it
    return false;
  }
  glAttachShader(_program, vertShader);
  glAttachShader(_program, fragShader);
  glBindAttribLocation(_program, AttributePosition, "position");
  glBindAttribLocation(_program, AttributeTexCoord, "texCoord");
  if (!linkProgram(_program)) {
    logMessage("Failed to link program: %d", static_cast<int>(_program));
    deleteShader(vertShader);
    deleteShader(fragShader);
    glDeleteProgram(_program);
    _program = 0;
    return false;
  }
  uniforms[UniformSamplerY] = glGetUniformLocation(_program, "SamplerY");
  uniforms[UniformSamplerUV] = glGetUniformLocation(_program, "SamplerUV");
  uniforms[UniformPreferredRotation] = glGetUniformLocation(_program, "preferredRotation");
  uniforms[UniformColorConversionMatrix] = glGetUniformLocation(_program, "colorConversionMatrix");
  for (const GLuint shader : {vertShader, fragShader}) {
    glDetachShader(_program, shader);
    deleteShader(shader);
  }
  return true;
}

bool AAPLEAGLLayer::compileShaderString(std::uint32_t* shader, std::uint32_t type,
                                        const char* shaderString) {
  *shader = glCreateShader(type);
  glShaderSource(*shader, 1, &shaderString, nullptr);
  glCompileShader(*shader);

  GLint logLength = 0;
  glGetShaderiv(*shader, GL_INFO_LOG_LENGTH, &logLength);
  printLog("Shader compile", *shader, logLength, glGetShaderInfoLog);

  GLint status = GL_FALSE;
  glGetShaderiv(*shader, GL_COMPILE_STATUS, &status);
  if (status == GL_FALSE) {
    glDeleteShader(*shader);
    return false;
  }
  return true;
}

bool AAPLEAGLLayer::compileShader(std::uint32_t* shader, std::uint32_t type, const Text& URL) {
  std::string text;
  if (const std::string error = readTextFile(URL, text); !error.empty()) {
    logMessage("Failed to load vertex shader: %s", error.c_str());
    return false;
  }
  return compileShaderString(shader, type, text.c_str());
}

bool AAPLEAGLLayer::linkProgram(std::uint32_t prog) {
  glLinkProgram(prog);
  GLint logLength = 0;
  glGetProgramiv(prog, GL_INFO_LOG_LENGTH, &logLength);
  printLog("Program link", prog, logLength, glGetProgramInfoLog);
  GLint status = GL_FALSE;
  glGetProgramiv(prog, GL_LINK_STATUS, &status);
  return status != GL_FALSE;
}

bool AAPLEAGLLayer::validateProgram(std::uint32_t prog) {
  glValidateProgram(prog);
  GLint logLength = 0;
  glGetProgramiv(prog, GL_INFO_LOG_LENGTH, &logLength);
  printLog("Program validate", prog, logLength, glGetProgramInfoLog);
  GLint status = GL_FALSE;
  glGetProgramiv(prog, GL_VALIDATE_STATUS, &status);
  return status != GL_FALSE;
}

}  // namespace quorvid
