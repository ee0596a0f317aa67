// The root pixmap is made on a connection of its own whose resources are kept after it closes
// (RetainPermanent), so the picture outlives the program; the previous setter's pixmap is freed
// by the usual convention (KillClient when _XROOTPMAP_ID and ESETROOT_PMAP_ID agree).
#include "RootWindowDesktopPictures.h"

#include "X11Connection.h"
#include "X11Replies.h"
#include "platform/PictureFile.h"

#include <QPainter>
#include <QSysInfo>
#include <cstdlib>
#include <memory>
#include <xcb/randr.h>

namespace {

using X11::Reply;

xcb_atom_t internAtom(xcb_connection_t* c, const char* name)
{
    Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

xcb_pixmap_t pixmapProperty(xcb_connection_t* c, xcb_window_t root, const char* name)
{
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, root, internAtom(c, name), XCB_ATOM_PIXMAP, 0, 1), nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return XCB_PIXMAP_NONE;
    return *static_cast<xcb_pixmap_t*>(xcb_get_property_value(reply.get()));
}

// The monitor's rectangle in root coordinates: the RandR monitor that drives the screen's
// output (by name where one output drives several monitors).
std::optional<QRect> monitorRect(xcb_connection_t* c, xcb_window_t root, const ScreenInfo& screen)
{
    Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, root, 1), nullptr));
    if (!reply)
        return std::nullopt;
    std::optional<QRect> byOutput;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
         xcb_randr_monitor_info_next(&it)) {
        const QRect rect(it.data->x, it.data->y, it.data->width, it.data->height);
        Reply<xcb_get_atom_name_reply_t> name(
            xcb_get_atom_name_reply(c, xcb_get_atom_name(c, it.data->name), nullptr));
        if (name && QString::fromUtf8(xcb_get_atom_name_name(name.get()),
                                      xcb_get_atom_name_name_length(name.get())) == screen.name)
            return rect;
        const xcb_randr_output_t* outputs = xcb_randr_monitor_info_outputs(it.data);
        for (int i = 0; i < xcb_randr_monitor_info_outputs_length(it.data); ++i) {
            if (screen.displayId && outputs[i] == *screen.displayId && !byOutput)
                byOutput = rect;
        }
    }
    return byOutput;
}

// Pixels travel as 32-bit words in the host's order, which is QImage's RGB32 layout.
bool serverUsesHostLayout(xcb_connection_t* c, uint8_t depth)
{
    const xcb_setup_t* setup = xcb_get_setup(c);
    const bool littleHost = QSysInfo::ByteOrder == QSysInfo::LittleEndian;
    if ((setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST) != littleHost)
        return false;
    for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it)) {
        if (it.data->depth == depth)
            return it.data->bits_per_pixel == 32;
    }
    return false;
}

QImage readImage(xcb_connection_t* c, xcb_drawable_t drawable, const QRect& rect)
{
    Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        c,
        xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, int16_t(rect.x()), int16_t(rect.y()),
                      uint16_t(rect.width()), uint16_t(rect.height()), ~0u),
        nullptr));
    if (!reply || !serverUsesHostLayout(c, reply->depth))
        return {};
    const qsizetype bytes = qsizetype(rect.width()) * rect.height() * 4;
    if (xcb_get_image_data_length(reply.get()) < bytes)
        return {};
    QImage image(xcb_get_image_data(reply.get()), rect.width(), rect.height(), rect.width() * 4,
                 QImage::Format_RGB32);
    // The fourth byte may hold anything (depth-32 pixmaps, some drivers): make it opaque.
    QImage result = image.copy();
    for (int y = 0; y < result.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            line[x] |= 0xff000000u;
    }
    return result;
}

// PutImage in bands of rows that fit the server's largest request.
void writeImage(xcb_connection_t* c, xcb_drawable_t drawable, xcb_gcontext_t gc,
                const QImage& image, uint8_t depth)
{
    const quint64 maxBytes = quint64(xcb_get_maximum_request_length(c)) * 4;
    const quint64 rowBytes = quint64(image.width()) * 4;
    const int band = int(std::max<quint64>(1, (maxBytes - 64) / rowBytes));
    for (int y = 0; y < image.height(); y += band) {
        const int rows = std::min(band, image.height() - y);
        xcb_put_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, gc, uint16_t(image.width()),
                      uint16_t(rows), 0, int16_t(y), 0, depth, uint32_t(rowBytes * rows),
                      image.constScanLine(y));
    }
}

void drawZoomed(QImage& canvas, const QRect& area, const QImage& picture)
{
    const double s =
        std::max(double(area.width()) / picture.width(), double(area.height()) / picture.height());
    const QSizeF size(picture.width() * s, picture.height() * s);
    const QRectF target(area.x() + (area.width() - size.width()) / 2,
                        area.y() + (area.height() - size.height()) / 2, size.width(),
                        size.height());
    QPainter painter(&canvas);
    painter.setClipRect(area);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(area, Qt::black);
    painter.drawImage(target, picture);
}

} // namespace

bool RootWindowDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    const QImage picture = PictureFile::read(path);
    if (picture.isNull())
        return false;
    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return false;
    }
    auto roots = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && roots.rem; ++i)
        xcb_screen_next(&roots);
    const xcb_screen_t* root = roots.data;
    const std::optional<QRect> area = root ? monitorRect(c, root->root, screen) : std::nullopt;
    if (!area || !serverUsesHostLayout(c, root->root_depth)) {
        xcb_disconnect(c);
        return false;
    }

    // Start from what the root shows, so that the other monitors keep their pictures.
    const QRect whole(0, 0, root->width_in_pixels, root->height_in_pixels);
    QImage canvas;
    const xcb_pixmap_t current = pixmapProperty(c, root->root, "_XROOTPMAP_ID");
    if (current != XCB_PIXMAP_NONE) {
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, xcb_get_geometry(c, current), nullptr));
        if (geometry && geometry->width >= whole.width() && geometry->height >= whole.height())
            canvas = readImage(c, current, whole);
    }
    if (canvas.isNull()) {
        canvas = QImage(whole.size(), QImage::Format_RGB32);
        canvas.fill(Qt::black);
    }
    drawZoomed(canvas, *area, picture);

    const xcb_pixmap_t pixmap = xcb_generate_id(c);
    xcb_create_pixmap(c, root->root_depth, pixmap, root->root, uint16_t(whole.width()),
                      uint16_t(whole.height()));
    const xcb_gcontext_t gc = xcb_generate_id(c);
    xcb_create_gc(c, gc, pixmap, 0, nullptr);
    writeImage(c, pixmap, gc, canvas, root->root_depth);
    xcb_free_gc(c, gc);

    const xcb_atom_t rootPixmap = internAtom(c, "_XROOTPMAP_ID");
    const xcb_atom_t setterPixmap = internAtom(c, "ESETROOT_PMAP_ID");
    const xcb_pixmap_t previousSetter = pixmapProperty(c, root->root, "ESETROOT_PMAP_ID");
    xcb_change_window_attributes(c, root->root, XCB_CW_BACK_PIXMAP, &pixmap);
    xcb_clear_area(c, 0, root->root, 0, 0, 0, 0);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, root->root, rootPixmap, XCB_ATOM_PIXMAP, 32, 1,
                        &pixmap);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, root->root, setterPixmap, XCB_ATOM_PIXMAP, 32, 1,
                        &pixmap);
    // The previous picture was left behind by a setter like us: free it with its client.
    if (previousSetter != XCB_PIXMAP_NONE && previousSetter == current)
        xcb_kill_client(c, previousSetter);
    xcb_set_close_down_mode(c, XCB_CLOSE_DOWN_RETAIN_PERMANENT);
    Reply<xcb_get_input_focus_reply_t> sync(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    const bool ok = sync && !xcb_connection_has_error(c);
    xcb_disconnect(c);
    return ok;
}

QImage RootWindowDesktopPictures::snapshotDesktopPicture(const ScreenInfo& screen)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return {};
    const xcb_window_t root = X11::rootWindow();
    const xcb_pixmap_t pixmap = pixmapProperty(c, root, "_XROOTPMAP_ID");
    if (pixmap == XCB_PIXMAP_NONE)
        return {};
    const std::optional<QRect> area = monitorRect(c, root, screen);
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, pixmap), nullptr));
    if (!area || !geometry)
        return {};
    const QRect part = area->intersected(QRect(0, 0, geometry->width, geometry->height));
    if (part.isEmpty())
        return {};
    return readImage(c, pixmap, part);
}
