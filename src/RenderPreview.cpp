#include "RenderPreview.h"

#include "Ending.h"

#include <cstdio>
#include <gdkmm/glcontext.h>
#include <iostream>
#include <utility>

namespace {

constexpr int sOldestGl = 33, sOldestGles = 20; // as libepoxy counts: 10 * major + minor
constexpr int sVertices = 6;

// Two triangles over the whole area, (x, y, z, w) each.
constexpr GLfloat sQuad[sVertices * 4] = {
    -1, 1, 0, 1, -1, -1, 0, 1, 1, -1, 0, 1, // upper left, lower left, lower right
    -1, 1, 0, 1, 1,  -1, 0, 1, 1, 1,  0, 1, // upper left, lower right, upper right
};

void printError(const char* where, const Glib::Error& error)
{
    std::cerr << "Error in " << where << ": " << error.domain() << ", " << error.code() << ", " << error.what()
              << std::endl;
}

} // namespace

RenderPreview::RenderPreview(Gtk::GLArea* area) : glPreviewArea(area)
{
    glPreviewArea->signal_realize().connect(sigc::mem_fun(*this, &RenderPreview::onGlRealize));
    glPreviewArea->signal_unrealize().connect(sigc::mem_fun(*this, &RenderPreview::onGlUnrealize), false);
    glPreviewArea->signal_render().connect(sigc::mem_fun(*this, &RenderPreview::onGlRender), false);
    glDrawingDispatcher.connect(sigc::mem_fun(*this, &RenderPreview::onGlDispatchDraw));
}

RenderPreview::~RenderPreview()
{
    if (glPreviewArea->get_realized())
        onGlUnrealize();
}

void RenderPreview::renderFrame(uint32_t* pixels, int w, int h)
{
    if (!m_acceptsFrames.load(std::memory_order_acquire) || !pixels)
        return;
    if (w < 1 || h < 1 || w > PreviewImage::sStride || h > PreviewImage::sStride) {
        fprintf(stderr, "Preview image of %d x %d refused, at most %d x %d can be shown\n", w, h, PreviewImage::sStride,
                PreviewImage::sStride);
        return;
    }
    PreviewImage& image = m_images.writeSlot();
    if (!image.pixels)
        return;
    image.assign(pixels, w, h);
    m_images.publish();
    // One wake-up in the pipe is enough: a main loop that stands still must not let it fill up and block us.
    if (!m_wakePending.exchange(true))
        glDrawingDispatcher.emit();
}

void RenderPreview::setAspectRatio(EAspectRatio ar, int zoomPercent)
{
    if (ar != ASPECT_RATIO_NO_CHANGE)
        m_aspectRatio = ar;
    m_zoomFactorPercent = zoomPercent;
}

void RenderPreview::onGlDispatchDraw()
{
    m_pace.ask();
}

void RenderPreview::showNewest()
{
    m_wakePending.store(false); // before the image is taken: one that comes later wakes us again
    if (!textureHandle[0])
        return;
    if (m_drawPending) { // the screen cannot follow: upload once for each image that it shows
        m_newerWaits = true;
        return;
    }
    const PreviewImage& image = m_images.newest();
    if (image.width == 0)
        return;
    frameW = image.width;
    frameH = image.height;
    glTextureData = image.pixels.get();
    try {
        glPreviewArea->make_current();
        glPreviewArea->throw_if_error();
        fitAreaToFrame();
        uploadTexture();
        glPreviewArea->queue_draw();
        m_drawPending = true;
    } catch (const Glib::Error& error) {
        printError("onGlDispatchDraw", error);
    }
}

void RenderPreview::fitAreaToFrame()
{
    if (glPreviewArea->get_width() != frameW || glPreviewArea->get_height() != frameH)
        glPreviewArea->set_size_request(frameW, frameH);
    if (m_textureW != frameW || m_textureH != frameH)
        setTextureCoordinates();
}

/// Shows the corner of the texture that the frame fills; v runs downwards like the image's rows.
void RenderPreview::setTextureCoordinates()
{
    const GLfloat u = frameW * 0.00048828125f, v = frameH * 0.00048828125f; // 1 / 2048
    const GLfloat coordinates[sVertices * 2] = {0, 0, 0, v, u, v, 0, 0, u, v, u, 0};
    glBindBuffer(GL_ARRAY_BUFFER, uvbuffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof coordinates, coordinates, GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

/// The whole texture goes up when the frame's size changes; after that only the frame's corner differs.
void RenderPreview::uploadTexture()
{
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, textureHandle[0]);
    if (m_textureW != frameW || m_textureH != frameH) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        if (!m_isGles)
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0); // no mipmaps
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
        glTexImage2D(GL_TEXTURE_2D, 0, m_isGles ? GL_RGBA : GL_RGBA8, PreviewImage::sStride, PreviewImage::sStride, 0,
                     GL_RGBA, GL_UNSIGNED_BYTE, glTextureData);
        m_textureW = frameW;
        m_textureH = frameH;
        return;
    }
    if (m_isGles) // its shaders draw no image
        return;
    glPixelStorei(GL_UNPACK_ROW_LENGTH, PreviewImage::sStride);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, frameW, frameH, GL_RGBA, GL_UNSIGNED_BYTE, glTextureData);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
}

void RenderPreview::onGlRealize()
{
    try {
        glPreviewArea->make_current();
        glPreviewArea->throw_if_error();
        if (!canRender())
            return;
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LESS);
        initGlBuffers();
        if (m_isGles)
            initGlShaders("glarea-gles.vs.glsl", "glarea-gles.fs.glsl");
        else
            initGlShaders("glarea-gl.vs.glsl", "glarea-gl.fs.glsl");
        m_acceptsFrames.store(m_Program != 0, std::memory_order_release);
        glDrawingDispatcher.emit(); // an area that comes back shows what it showed
    } catch (const Glib::Error& error) {
        printError("onGlRealize", error);
        showProblem("No preview: OpenGL is not available (" + error.what() + ")");
    }
}

/// Whether the context can run the shaders; calls that it lacks would end the process.
bool RenderPreview::canRender()
{
    m_isGles = !epoxy_is_desktop_gl();
    const int version = epoxy_gl_version(), oldest = m_isGles ? sOldestGles : sOldestGl;
    if (version >= oldest)
        return true;
    char text[120];
    snprintf(text, sizeof text, "No preview: it needs OpenGL %d.%d, this computer offers %d.%d", oldest / 10,
             oldest % 10, version / 10, version % 10);
    fprintf(stderr, "%s\n", text);
    showProblem(text);
    return false;
}

/// GTK shows the text in the area's place.
void RenderPreview::showProblem(const std::string& text)
{
    glPreviewArea->set_error(Glib::Error(GDK_GL_ERROR, GDK_GL_ERROR_NOT_AVAILABLE, text));
}

void RenderPreview::initGlBuffers()
{
    if (!m_isGles || epoxy_gl_version() >= 30) {
        glGenVertexArrays(1, &m_Vao);
        glBindVertexArray(m_Vao);
    }
    glGenBuffers(1, &m_Buffer);
    printf("m_Buffer = %d\n", static_cast<int>(m_Buffer));
    glBindBuffer(GL_ARRAY_BUFFER, m_Buffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof sQuad, sQuad, GL_STATIC_DRAW);
    glGenBuffers(1, &uvbuffer);
    printf("uvbuffer = %d\n", static_cast<int>(uvbuffer));
    frameW = frameH = PreviewImage::sStride; // far corner 1, 1 until a frame comes
    setTextureCoordinates();
    frameW = frameH = 0;
    glGenTextures(1, textureHandle);
    printf("textureHandle[0] = %d\n", static_cast<int>(textureHandle[0]));
    if (textureHandle[0] == 0) {
        fprintf(stderr, "Failed to create OpenGL texture for preview window, exiting.\n");
        endProcess(sFailureStatus);
    }
}

void RenderPreview::initGlShaders(const std::string& vertexResource, const std::string& fragmentResource)
{
    m_Program = buildPreviewProgram(vertexResource, fragmentResource);
    if (!m_Program) {
        showProblem("No preview: the shaders do not run on this OpenGL");
        return;
    }
    m_Mvp = glGetUniformLocation(m_Program, "mvp");
    textureID = glGetUniformLocation(m_Program, "myTextureSampler");
}

bool RenderPreview::onGlRender(const Glib::RefPtr<Gdk::GLContext>&)
{
    m_drawPending = false;
    if (std::exchange(m_newerWaits, false))
        glDrawingDispatcher.emit();
    try {
        glPreviewArea->throw_if_error();
        glClearColor(0.5f, 0.5f, 0.5f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        if (m_Program)
            drawPreviewTexture();
        glFlush();
        return true;
    } catch (const Glib::Error& error) {
        printError("onGlRender", error);
        return false;
    }
}

void RenderPreview::drawPreviewTexture()
{
    float mvp[16];
    compute_mvp(mvp, m_RotationAngles[0], m_RotationAngles[1], m_RotationAngles[2]);
    glUseProgram(m_Program);
    glUniformMatrix4fv(m_Mvp, 1, GL_FALSE, mvp);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, textureHandle[0]);
    glUniform1i(textureID, 0);

    glEnableVertexAttribArray(sPositionAttribute);
    glBindBuffer(GL_ARRAY_BUFFER, m_Buffer);
    glVertexAttribPointer(sPositionAttribute, 4, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(sUvAttribute);
    glBindBuffer(GL_ARRAY_BUFFER, uvbuffer);
    glVertexAttribPointer(sUvAttribute, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glDrawArrays(GL_TRIANGLES, 0, sVertices);
    glDisableVertexAttribArray(sPositionAttribute);
    glDisableVertexAttribArray(sUvAttribute);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glUseProgram(0);
}

void RenderPreview::onGlUnrealize()
{
    m_acceptsFrames.store(false, std::memory_order_release);
    try {
        glPreviewArea->make_current();
        printf("onGlUnrealize\n");
        glPreviewArea->throw_if_error();
        releaseGlObjects();
    } catch (const Glib::Error& error) {
        printError("onGlRealize", error); // the same words as for realising, on purpose
    }
}

void RenderPreview::releaseGlObjects()
{
    if (m_Buffer)
        glDeleteBuffers(1, &m_Buffer);
    if (uvbuffer)
        glDeleteBuffers(1, &uvbuffer);
    if (m_Vao)
        glDeleteVertexArrays(1, &m_Vao);
    if (textureHandle[0])
        glDeleteTextures(1, textureHandle);
    if (m_Program)
        glDeleteProgram(m_Program);
    m_Buffer = uvbuffer = m_Vao = textureHandle[0] = m_Program = 0;
    m_textureW = m_textureH = 0; // a new texture holds nothing
    m_drawPending = m_newerWaits = false;
}
