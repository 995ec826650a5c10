#pragma once

#include <epoxy/gl.h>
#include <string>

// The preview's shaders and their matrix. The context that uses them must be current. Main thread.

constexpr GLuint sPositionAttribute = 0, sUvAttribute = 1; ///< the vertex shader's inputs

/// Compiles one shader of the current context.
///
/// @param type  GL_VERTEX_SHADER or GL_FRAGMENT_SHADER.
/// @return      the shader, or 0 after a line on standard error with the compiler's log.
GLuint create_shader(GLenum type, const char* source);

/// Fills m with the column-major 4 x 4 rotation by three angles in degrees.
void compute_mvp(float* m, float angleX, float angleY, float angleZ);

/// Compiles and links the shaders of two resources.
///
/// @return  the program, owned by the caller, or 0 after lines on standard error that say why.
GLuint buildPreviewProgram(const std::string& vertexResource, const std::string& fragmentResource);
