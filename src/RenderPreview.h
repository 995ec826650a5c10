#pragma once

#include "Pace.h"
#include "PreviewImage.h"
#include "PreviewShaders.h"
#include "TripleBuffer.h"

#include <atomic>
#include <cstdint>
#include <epoxy/gl.h>
#include <glibmm/dispatcher.h>
#include <gtkmm/glarea.h>
#include <sigc++/trackable.h>
#include <string>

/// How the preview is fitted into its area.
enum EAspectRatio {
    ASPECT_RATIO_NO_CHANGE = -1,
    ASPECT_RATIO_SCALE_TO_FIT = 0,
    ASPECT_RATIO_ASPECT_FIT = 1,
    ASPECT_RATIO_ASPECT_SCALE = 2,
};

/// Shows the latest preview image in a GL area, one texel a pixel, the area as large as the image.
///
/// Main thread, except renderFrame.
class RenderPreview : public sigc::trackable {
public:
    /// @param area  not owned; must be alive until this object is gone.
    explicit RenderPreview(Gtk::GLArea* area);
    virtual ~RenderPreview();
    RenderPreview(const RenderPreview&) = delete;
    RenderPreview& operator=(const RenderPreview&) = delete;

    /// Takes a copy of a preview image and has the main loop show it; the newest image wins.
    ///
    /// @param pixels  w * h words 0x00RRGGBB, rows without gaps.
    /// @param w, h    1..2048 each; other sizes are refused with a line on standard error.
    ///
    /// Does nothing before the area is realised. Never waits for the window. Streaming thread.
    void renderFrame(uint32_t* pixels, int w, int h);

    /// Stores the mode, unless it is ASPECT_RATIO_NO_CHANGE, and the zoom. Drawing reads neither.
    void setAspectRatio(EAspectRatio ar, int zoomPercent);

    EAspectRatio aspectRatio() const { return m_aspectRatio; }
    int zoomFactorPercent() const { return m_zoomFactorPercent; }

private:
    void onGlRealize();
    void onGlUnrealize();
    bool onGlRender(const Glib::RefPtr<Gdk::GLContext>& context);
    void onGlDispatchDraw();
    void showNewest();
    void initGlBuffers();
    void initGlShaders(const std::string& vertexResource, const std::string& fragmentResource);
    void drawPreviewTexture();
    bool canRender();
    void fitAreaToFrame();
    void setTextureCoordinates();
    void uploadTexture();
    void releaseGlObjects();
    void showProblem(const std::string& text);

    Gtk::GLArea* glPreviewArea;
    const uint32_t* glTextureData = nullptr; // pixels of the image to upload
    Glib::Dispatcher glDrawingDispatcher;
    int frameW = 0, frameH = 0;
    EAspectRatio m_aspectRatio = ASPECT_RATIO_SCALE_TO_FIT;
    int m_zoomFactorPercent = 100;
    GLuint m_Vao = 0, m_Buffer = 0, uvbuffer = 0, m_Program = 0;
    GLint m_Mvp = -1;
    float m_RotationAngles[3] = {0, 0, 0};
    GLuint textureHandle[1] = {0};
    GLint textureID = -1;

    // The streaming thread fills one image while the main thread uploads another: neither waits,
    // images between are dropped, and the last one handed in is the last one shown.
    libobribase::TripleBuffer<PreviewImage> m_images;
    std::atomic<bool> m_acceptsFrames{false}; // a texture exists
    std::atomic<bool> m_wakePending{false};   // the dispatcher's pipe holds one wake-up at most
    int m_textureW = 0, m_textureH = 0;       // size of the image that the texture was made for
    Pace m_pace{[this] { showNewest(); }};
    bool m_drawPending = false; // what was uploaded has not been drawn yet
    bool m_newerWaits = false;  // a wake-up came meanwhile
    bool m_isGles = false;
};
