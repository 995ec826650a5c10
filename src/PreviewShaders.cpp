#include "PreviewShaders.h"

#include "MainWindowParts.h"

#include <algorithm>
#include <cmath>
#include <giomm/resource.h>
#include <iostream>

namespace {

std::string infoLogOf(GLuint object, PFNGLGETSHADERIVPROC getParameter, PFNGLGETSHADERINFOLOGPROC getLog)
{
    GLint length = 0;
    getParameter(object, GL_INFO_LOG_LENGTH, &length);
    std::string log(length > 0 ? length : 1, '\0');
    getLog(object, static_cast<GLsizei>(log.size()), nullptr, log.data());
    log.resize(std::min(log.size(), log.find('\0')));
    return log;
}

/// The text of a resource; empty after a line on standard error.
std::string shaderText(const std::string& name, const char* kind)
{
    try {
        const auto bytes = Gio::Resource::lookup_data_global(sResourcePrefix + name);
        gsize size = 0;
        const auto* text = static_cast<const char*>(bytes->get_data(size));
        return std::string(text, size);
    } catch (const Glib::Error&) {
        std::cerr << "Failed fetching " << kind << " shader resource" << std::endl;
        return {};
    }
}

/// Links two shaders; 0 after a line on standard error with the linker's log.
GLuint linkProgram(GLuint vertex, GLuint fragment)
{
    const GLuint program = glCreateProgram();
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    // The shaders for OpenGL ES have no layout for their inputs.
    glBindAttribLocation(program, sPositionAttribute, "position");
    glBindAttribLocation(program, sUvAttribute, "vertexUV");
    glLinkProgram(program);
    glDetachShader(program, vertex);
    glDetachShader(program, fragment);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (linked)
        return program;
    std::cerr << "Linking failure:" << infoLogOf(program, glGetProgramiv, glGetProgramInfoLog) << std::endl;
    glDeleteProgram(program);
    return 0;
}

} // namespace

GLuint buildPreviewProgram(const std::string& vertexResource, const std::string& fragmentResource)
{
    const std::string vertexText = shaderText(vertexResource, "vertex");
    const std::string fragmentText = shaderText(fragmentResource, "fragment");
    const GLuint vertex = create_shader(GL_VERTEX_SHADER, vertexText.c_str());
    const GLuint fragment = create_shader(GL_FRAGMENT_SHADER, fragmentText.c_str());
    const GLuint program = vertex && fragment ? linkProgram(vertex, fragment) : 0;
    if (vertex)
        glDeleteShader(vertex);
    if (fragment)
        glDeleteShader(fragment);
    return program;
}

GLuint create_shader(GLenum type, const char* source)
{
    const GLuint shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint compiled = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (compiled)
        return shader;
    std::cerr << "Compile failure in " << (type == GL_VERTEX_SHADER ? "vertex" : "fragment")
              << " shader: " << infoLogOf(shader, glGetShaderiv, glGetShaderInfoLog) << std::endl;
    glDeleteShader(shader);
    return 0;
}

void compute_mvp(float* m, float angleX, float angleY, float angleZ)
{
    constexpr float sRadians = 0.017453292f;
    const float cx = std::cos(angleX * sRadians), sx = std::sin(angleX * sRadians);
    const float cy = std::cos(angleY * sRadians), sy = std::sin(angleY * sRadians);
    const float cz = std::cos(angleZ * sRadians), sz = std::sin(angleZ * sRadians);
    const float rows[4][4] = {
        {cz * cy, sz * cx + cz * sy * sx, sz * sx - cz * sy * cx, 0},
        {-sz * cy, cz * cx - sz * sy * sx, cz * sx + sz * sy * cx, 0},
        {sy, -cy * sx, cy * cx, 0},
        {0, 0, 0, 1},
    };
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            m[column * 4 + row] = rows[row][column];
}
