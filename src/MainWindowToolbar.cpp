#include "MainWindowToolbar.h"

#include <gdk/gdk.h>
#include <gdkmm/pixbuf.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>

namespace {

constexpr int sImageSize = 28; // pixels at scale 1; the resources are larger

void sharpen(Gtk::Image& image, int scale)
{
    const std::string resource = image.property_resource().get_value();
    if (resource.empty())
        return;
    const auto pixbuf = Gdk::Pixbuf::create_from_resource(resource, sImageSize * scale, sImageSize * scale);
    cairo_surface_t* surface = gdk_cairo_surface_create_from_pixbuf(pixbuf->gobj(), scale, nullptr);
    gtk_image_set_from_surface(image.gobj(), surface);
    cairo_surface_destroy(surface);
}

} // namespace

void sharpenToolbarImages(Gtk::Box& toolbar)
{
    for (Gtk::Widget* child : toolbar.get_children())
        if (auto* button = dynamic_cast<Gtk::Button*>(child))
            if (auto* image = dynamic_cast<Gtk::Image*>(button->get_image()))
                sharpen(*image, toolbar.get_scale_factor());
}
