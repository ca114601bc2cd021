#include <GLES2/gl2.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "quorvid/base/Log.h"
#include "quorvid/render/AAPLEAGLLayer.h"

namespace quorvid::test {
namespace {

TEST(Shader, TextsHaveTheirExactLayout) {
  const std::string vertex = shader_vsh, fragment = shader_fsh;
  ASSERT_EQ(vertex.size(), 492U);
  ASSERT_EQ(fragment.size(), 412U);
  EXPECT_EQ(vertex.find_first_of("\r\n"), std::string::npos);
  EXPECT_EQ(vertex.find("main(){    mat4 rota"), 114U);
  EXPECT_EQ(vertex.find("0.0,\t\t\t\t\t    0.0, 1.0, 0.0," + std::string(31, ' ')), 330U);
  EXPECT_EQ(vertex.find("texCoordVarying = texCoord;}"), 492U - 28);
  EXPECT_EQ(fragment.find("){    mediump vec3 yuv;    lowp"), 159U);
  EXPECT_EQ(fragment.find("    gl_FragColor = vec4(rgb, 1);}"), 412U - 33);
}

TEST(Shader, LayerLinksAProgramAndFillsTheTable) {
  const auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  ASSERT_NE(layer, nullptr);
  ASSERT_NE(layer->program(), 0U);
  const char* names[] = {"SamplerY", "SamplerUV", "preferredRotation", "colorConversionMatrix"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_GE(uniforms[i], 0);
    EXPECT_EQ(uniforms[i], glGetUniformLocation(layer->program(), names[i]));
  }
  EXPECT_EQ(glGetAttribLocation(layer->program(), "position"), 0);
  EXPECT_EQ(glGetAttribLocation(layer->program(), "texCoord"), 1);
  GLint attached = -1;
  glGetProgramiv(layer->program(), GL_ATTACHED_SHADERS, &attached);
  EXPECT_EQ(attached, 0);
  GLfloat matrix[9] = {};
  glGetUniformfv(layer->program(), uniforms[3], matrix);
  EXPECT_TRUE(std::equal(std::begin(matrix), std::end(matrix), kColorConversion709));
  EXPECT_TRUE(layer->validateProgram(layer->program()));
}

TEST(Shader, WhatDoesNotCompileIsDeletedAndPrinted) {
  const auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  GLuint shader = 0;
  testing::internal::CaptureStdout();
  EXPECT_FALSE(layer->compileShaderString(&shader, GL_VERTEX_SHADER, "void main() { nonsense }"));
  EXPECT_EQ(testing::internal::GetCapturedStdout().find("Shader compile log:\n0:1("), 0U);
  EXPECT_EQ(glIsShader(shader), GL_FALSE);
  const GLuint empty = glCreateProgram();
  testing::internal::CaptureStdout();
  EXPECT_FALSE(layer->linkProgram(empty) && layer->validateProgram(empty));
  testing::internal::GetCapturedStdout();
  glDeleteProgram(empty);
}

// Shaders and programs of all layers share one set of names, given in rising order.
TEST(Shader, ALayerWhoseFragmentShaderFailsKeepsItsProgramAlone) {
  const auto good = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  const char* const text = shader_fsh;
  shader_fsh = "void main() { nonsense }";
  std::string last;
  setLogSink([&](std::string_view line) { last = line; });
  testing::internal::CaptureStdout();
  const auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  testing::internal::GetCapturedStdout();
  setLogSink(nullptr);
  shader_fsh = text;
  EXPECT_EQ(last, "Failed to compile fragment shader");
  ASSERT_NE(layer, nullptr);
  EXPECT_EQ(glIsProgram(layer->program()), GL_TRUE);
  for (GLuint name = good->program(); name < good->program() + 100; ++name) {
    EXPECT_EQ(glIsShader(name), GL_FALSE) << name;
  }
}

TEST(Shader, IsReadFromAFileUrl) {
  const auto layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 8, 8));
  const std::string folder = testing::TempDir() + "quorvid " + std::to_string(getpid());
  const std::string good = folder + ".fsh";
  const std::string bad = folder + ".bad";
  std::ofstream(good) << shader_fsh;
  std::ofstream(bad) << "// \xE0\x80\xAF: a longer form than needed\n" << shader_fsh;
  std::string last;
  setLogSink([&](std::string_view line) { last = line; });
  GLuint shader = 0;
  const std::string url = "file://" + testing::TempDir() + "quorvid%20" + std::to_string(getpid());
  EXPECT_TRUE(layer->compileShader(&shader, GL_FRAGMENT_SHADER, Text(url + ".fsh")));
  EXPECT_EQ(glIsShader(shader), GL_TRUE);
  for (const char* ending : {".bad", ".none"}) {
    last.clear();
    EXPECT_FALSE(layer->compileShader(&shader, GL_FRAGMENT_SHADER, Text(url + ending)));
    EXPECT_EQ(last.find("Failed to load vertex shader: /"), 0U) << last;
  }
  setLogSink(nullptr);
  unlink(good.c_str());
  unlink(bad.c_str());
}

}  // namespace
}  // namespace quorvid::test
