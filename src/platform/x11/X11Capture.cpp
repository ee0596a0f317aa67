// Monitor captures over xcb. Pixels are copied row by row into the QImage with the fourth byte
// set to 0xff: drivers may leave anything there, and the panel pictures are composited.
#include "X11Capture.h"

#include "X11Connection.h"
#include "X11Probes.h"
#include "X11RandR.h"
#include "X11Replies.h"
#include "X11WindowFacts.h"

#include <QPainter>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/composite.h>
#include <xcb/shm.h>

namespace {

using X11::Reply;

// The rows captured below the top edge when no panel reaches further.
constexpr int minStripRows = 128;

// The root window's pixels are 32 bits, little-endian, red in the third byte: the layout of
// QImage::Format_RGB32. Every X server for a desktop today uses it at depth 24 or 32.
bool rootHasRgb32Layout(xcb_connection_t* c)
{
    const xcb_setup_t* setup = xcb_get_setup(c);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(setup).data;
    if (!screen || setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return false;
    bool thirtyTwoBits = false;
    for (auto f = xcb_setup_pixmap_formats_iterator(setup); f.rem; xcb_format_next(&f)) {
        if (f.data->depth == screen->root_depth)
            thirtyTwoBits = f.data->bits_per_pixel == 32;
    }
    if (!thirtyTwoBits)
        return false;
    for (auto d = xcb_screen_allowed_depths_iterator(screen); d.rem; xcb_depth_next(&d)) {
        for (auto v = xcb_depth_visuals_iterator(d.data); v.rem; xcb_visualtype_next(&v)) {
            if (v.data->visual_id == screen->root_visual)
                return v.data->red_mask == 0xff0000 && v.data->green_mask == 0xff00 &&
                       v.data->blue_mask == 0xff;
        }
    }
    return false;
}

// Copies 32-bit rows into an opaque RGB32 image of the same size.
bool copyOpaque(const std::uint8_t* data, std::size_t length, QImage& image)
{
    const int width = image.width();
    const int height = image.height();
    const std::size_t rowBytes = std::size_t(width) * 4;
    if (length < rowBytes * std::size_t(height))
        return false;
    for (int y = 0; y < height; ++y) {
        const auto* src = reinterpret_cast<const quint32*>(data + rowBytes * std::size_t(y));
        auto* dst = reinterpret_cast<quint32*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            dst[x] = src[x] | 0xff000000u;
    }
    return true;
}

bool allOpaque(const std::uint8_t* data, std::size_t length)
{
    for (std::size_t i = 3; i < length; i += 4) {
        if (data[i] != 0xff)
            return false;
    }
    return true;
}

bool compositingManagerRuns(xcb_connection_t* c)
{
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        c, xcb_get_selection_owner(c, X11::atom("_NET_WM_CM_S0")), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace

X11Capture::X11Capture()
{
    m_connection = X11::connection();
    if (!m_connection)
        return;
    // Naming a window's offscreen pixmap needs Composite 0.2.
    const xcb_query_extension_reply_t* composite =
        xcb_get_extension_data(m_connection, &xcb_composite_id);
    if (composite && composite->present) {
        const Reply<xcb_composite_query_version_reply_t> version(xcb_composite_query_version_reply(
            m_connection, xcb_composite_query_version(m_connection, 0, 2), nullptr));
        m_compositeUsable = version && (version->major_version > 0 || version->minor_version >= 2);
    }
    const xcb_query_extension_reply_t* shm = xcb_get_extension_data(m_connection, &xcb_shm_id);
    if (!shm || !shm->present)
        return;
    Reply<xcb_shm_query_version_reply_t> version(
        xcb_shm_query_version_reply(m_connection, xcb_shm_query_version(m_connection), nullptr));
    m_shmUsable = version != nullptr;
}

X11Capture::~X11Capture()
{
    endRedirection();
    releaseSegment();
}

bool X11Capture::canCaptureScreen() const
{
    return X11::canReadRootWindow();
}

bool X11Capture::requestCaptureAccess()
{
    return X11::canReadRootWindow();
}

QRect X11Capture::monitorRect(quint32 output)
{
    // The monitor that lists the output first, as the screen list assigns display ids.
    for (const X11::RandrMonitor& monitor : X11::randrMonitors()) {
        if (!monitor.outputs.isEmpty() && monitor.outputs.first() == output)
            return monitor.rect;
    }
    return {};
}

QImage X11Capture::captureDisplay(quint32 displayId)
{
    const QRect monitor = monitorRect(displayId);
    if (monitor.isEmpty() || !m_connection)
        return {};
    const QList<std::pair<xcb_window_t, QRect>> panels = topPanels(monitor);
    // Only the panel strip is ever read.
    int rows = minStripRows;
    for (const auto& panel : panels)
        rows = std::max(rows, panel.second.bottom() + 1 - monitor.top());
    const QRect stripRect(monitor.topLeft(),
                          QSize(monitor.width(), std::min(rows, monitor.height())));

    // Read from the root window: whatever lies over the panels (our masks) is in it. Where a
    // panel has an offscreen copy of ours, the panel's own pixels replace that part; a panel
    // without one gets it now (the masks come down before a capture until every panel has
    // one, for a panel that cannot be read from its copy).
    QImage strip = captureRootRect(stripRect);
    if (strip.isNull() || !m_compositeUsable)
        return strip;
    QPainter painter;
    bool allRead = true;
    for (const auto& [window, rect] : panels) {
        QImage own;
        if (!m_redirected.contains(window)) {
            // Read from its copy at once: our masks may lie over it already.
            own = redirect(window);
        } else {
            bool translucent = false;
            own = panelPixels(window, &translucent);
            // Turned translucent under a compositing manager: read from the screen from now
            // on. Otherwise the window is gone, or its id now names a new window that nobody
            // redirected: the next capture, with the masks down, starts over.
            if (own.isNull() && translucent)
                dropRedirection(window);
            else if (own.isNull())
                m_redirected.remove(window);
        }
        if (own.isNull()) {
            allRead = false;
            continue;
        }
        if (!painter.isActive())
            painter.begin(&strip);
        painter.drawImage(rect.topLeft() - stripRect.topLeft(), own);
    }
    if (panels.isEmpty())
        m_readBelow.remove(displayId);
    else
        m_readBelow.insert(displayId, allRead);
    m_belowOwnWindows =
        !m_readBelow.isEmpty() &&
        std::all_of(m_readBelow.cbegin(), m_readBelow.cend(), [](bool read) { return read; });
    return strip;
}

bool X11Capture::capturesBelowOwnWindows() const
{
    // A panel that came since the last capture (a restarted panel) has no copy yet; the next
    // capture reads it from a copy made then, before anything of it is shown. Space kept free
    // at the top without a dock window is not a panel here: such a bar is not covered without
    // a panel window in practice.
    return m_compositeUsable && m_belowOwnWindows;
}

QImage X11Capture::redirect(xcb_window_t panel)
{
    xcb_connection_t* c = m_connection;
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, panel), nullptr));
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    if (m_unreadable.contains(panel))
        return {};
    // Panels draw at the root's depth or, with an alpha channel, at 32 bits.
    if (!geometry || !screen || (geometry->depth != screen->root_depth && geometry->depth != 32))
        return {};
    // Automatic: the server still draws the panel on the screen itself, nothing changes there.
    // The redirection ends with our connection, so a crash leaves nothing behind.
    const Reply<xcb_generic_error_t> error(xcb_request_check(
        c, xcb_composite_redirect_window_checked(c, panel, XCB_COMPOSITE_REDIRECT_AUTOMATIC)));
    if (error)
        return {};
    m_redirected.insert(panel);
    // One that cannot be read from its copy is known before any mask relies on the copy.
    bool translucent = false;
    QImage own = panelPixels(panel, &translucent);
    if (own.isNull()) {
        if (translucent)
            dropRedirection(panel);
        else
            m_redirected.remove(panel);
    }
    return own;
}

void X11Capture::dropRedirection(xcb_window_t panel)
{
    m_redirected.remove(panel);
    m_unreadable.insert(panel);
    xcb_discard_reply(m_connection, xcb_composite_unredirect_window_checked(
                                        m_connection, panel, XCB_COMPOSITE_REDIRECT_AUTOMATIC)
                                        .sequence);
}

QImage X11Capture::panelPixels(xcb_window_t panel, bool* translucent) const
{
    xcb_connection_t* c = m_connection;
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, panel), nullptr));
    if (!geometry || geometry->width == 0 || geometry->height == 0)
        return {};
    const xcb_pixmap_t pixmap = xcb_generate_id(c);
    // The pixmap holds the border too; the panel's own pixels start inside it.
    const xcb_void_cookie_t named = xcb_composite_name_window_pixmap_checked(c, panel, pixmap);
    const xcb_get_image_cookie_t request =
        xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, std::int16_t(geometry->border_width),
                      std::int16_t(geometry->border_width), geometry->width, geometry->height, ~0u);
    xcb_free_pixmap(c, pixmap);
    const Reply<xcb_generic_error_t> error(xcb_request_check(c, named));
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(c, request, nullptr));
    if (error || !reply)
        return {};
    const auto* data = xcb_get_image_data(reply.get());
    const auto length = std::size_t(xcb_get_image_data_length(reply.get()));
    // Without a compositing manager the server shows a 32-bit panel's colour bytes as they
    // are; with one, a translucent panel shows what lies below it through it, blended as
    // premultiplied colour over it: the same blend of the same pixels gives what the screen
    // shows.
    if (geometry->depth == 32 && !allOpaque(data, length) && compositingManagerRuns(c)) {
        QImage own(geometry->width, geometry->height, QImage::Format_ARGB32_Premultiplied);
        const std::size_t rowBytes = std::size_t(geometry->width) * 4;
        QImage shown;
        if (!own.isNull() && length >= rowBytes * geometry->height) {
            for (int y = 0; y < own.height(); ++y)
                std::memcpy(own.scanLine(y), data + rowBytes * std::size_t(y), rowBytes);
            shown = belowPanel(panel, own.size());
        }
        if (shown.isNull()) {
            *translucent = true;
            return {};
        }
        QPainter painter(&shown);
        painter.setOpacity(windowOpacity(panel));
        painter.drawImage(0, 0, own);
        return shown;
    }
    QImage image(geometry->width, geometry->height, QImage::Format_RGB32);
    if (image.isNull() || !copyOpaque(data, length, image))
        return {};
    return image;
}

QImage X11Capture::belowPanel(xcb_window_t panel, QSize size) const
{
    xcb_connection_t* c = m_connection;
    const xcb_window_t root = X11::rootWindow();
    const Reply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
        c, xcb_translate_coordinates(c, panel, root, 0, 0), nullptr));
    if (!origin)
        return {};
    const QRect area(origin->dst_x, origin->dst_y, size.width(), size.height());
    // The panel's window among the root's children: its frame, under a reparenting manager.
    xcb_window_t topLevel = panel;
    for (int depth = 0; depth < 4; ++depth) {
        const Reply<xcb_query_tree_reply_t> up(
            xcb_query_tree_reply(c, xcb_query_tree(c, topLevel), nullptr));
        if (!up)
            return {};
        if (up->parent == root || up->parent == XCB_WINDOW_NONE)
            break;
        topLevel = up->parent;
    }
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, root), nullptr));
    if (!tree)
        return {};
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    int index = int(std::find(children, children + count, topLevel) - children);
    // Bottom to top: the first window below the panel that reaches into its area decides. Only
    // the desktop's own window can be read back as it is shown; another window there may be
    // translucent or shadowed itself, and the screen is read instead.
    while (--index >= 0) {
        const xcb_window_t below = children[index];
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, below), nullptr));
        const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, xcb_get_geometry(c, below), nullptr));
        if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY)
            continue;
        const int border = 2 * geometry->border_width;
        if (!QRect(geometry->x, geometry->y, geometry->width + border, geometry->height + border)
                 .intersects(area))
            continue;
        const xcb_window_t desktop = desktopWindowIn(below);
        if (desktop == XCB_WINDOW_NONE)
            return {};
        const Reply<xcb_translate_coordinates_reply_t> offset(xcb_translate_coordinates_reply(
            c,
            xcb_translate_coordinates(c, root, desktop, std::int16_t(area.x()),
                                      std::int16_t(area.y())),
            nullptr));
        return offset ? pixelsOf(desktop, QRect(QPoint(offset->dst_x, offset->dst_y), size))
                      : QImage();
    }
    // Nothing between the panel and the root: the root's picture, where a setter left one.
    const Reply<xcb_get_property_reply_t> picture(X11::reply<xcb_get_property_reply_t>(
        c, X11::requestProperty(c, root, X11::atom("_XROOTPMAP_ID")),
        QDeadlineTimer(std::chrono::milliseconds(250))));
    const QList<quint32> pixmap = X11::cardinals(picture.get());
    return pixmap.isEmpty() ? QImage() : pixelsOf(pixmap.first(), area);
}

xcb_window_t X11Capture::desktopWindowIn(xcb_window_t topLevel) const
{
    xcb_connection_t* c = m_connection;
    const xcb_atom_t desktopType = X11::atom("_NET_WM_WINDOW_TYPE_DESKTOP");
    const auto isDesktop = [&](xcb_window_t window) {
        const Reply<xcb_get_property_reply_t> types(X11::reply<xcb_get_property_reply_t>(
            c, X11::requestProperty(c, window, X11::atom("_NET_WM_WINDOW_TYPE")),
            QDeadlineTimer(std::chrono::milliseconds(250))));
        return X11::cardinals(types.get()).contains(desktopType);
    };
    if (isDesktop(topLevel))
        return topLevel;
    // A window manager's frame holds the desktop window one level down.
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, topLevel), nullptr));
    if (!tree)
        return XCB_WINDOW_NONE;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        if (isDesktop(children[i]))
            return children[i];
    }
    return XCB_WINDOW_NONE;
}

QImage X11Capture::pixelsOf(xcb_drawable_t drawable, const QRect& rect) const
{
    xcb_connection_t* c = m_connection;
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        c,
        xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, std::int16_t(rect.x()),
                      std::int16_t(rect.y()), std::uint16_t(rect.width()),
                      std::uint16_t(rect.height()), ~0u),
        nullptr));
    if (!reply || reply->depth != 24)
        return {};
    QImage image(rect.size(), QImage::Format_RGB32);
    if (image.isNull() || !copyOpaque(xcb_get_image_data(reply.get()),
                                      std::size_t(xcb_get_image_data_length(reply.get())), image))
        return {};
    return image;
}

double X11Capture::windowOpacity(xcb_window_t panel) const
{
    // Compositing managers take the opacity from the client window (and copy it to their
    // frame); fully opaque when it is not set.
    xcb_connection_t* c = m_connection;
    const Reply<xcb_get_property_reply_t> opacity(X11::reply<xcb_get_property_reply_t>(
        c, X11::requestProperty(c, panel, X11::atom("_NET_WM_WINDOW_OPACITY")),
        QDeadlineTimer(std::chrono::milliseconds(250))));
    const QList<quint32> value = X11::cardinals(opacity.get());
    return value.isEmpty() ? 1.0 : double(value.first()) / double(0xffffffffu);
}

void X11Capture::endRedirection()
{
    // The connection is Qt's; it may already be closed when the platform goes last.
    xcb_connection_t* c = X11::connection();
    if (c && c == m_connection) {
        // A panel that went away meanwhile answers with an error, which nobody needs.
        for (const xcb_window_t panel : std::as_const(m_redirected))
            xcb_discard_reply(c, xcb_composite_unredirect_window_checked(
                                     c, panel, XCB_COMPOSITE_REDIRECT_AUTOMATIC)
                                     .sequence);
        xcb_flush(c);
    }
    m_redirected.clear();
    m_unreadable.clear();
    m_readBelow.clear();
    m_belowOwnWindows = false;
}

QList<std::pair<xcb_window_t, QRect>> X11Capture::topPanels(const QRect& monitor) const
{
    QList<std::pair<xcb_window_t, QRect>> panels;
    // The scans' own connection: waiting on it ends as soon as the reply is there.
    xcb_connection_t* c = X11::scanConnection();
    const auto deadline = QDeadlineTimer(std::chrono::milliseconds(250));
    const Reply<xcb_get_property_reply_t> list = X11::reply<xcb_get_property_reply_t>(
        c, X11::requestProperty(c, X11::rootWindow(), X11::atom("_NET_CLIENT_LIST")), deadline);
    QList<xcb_window_t> windows;
    for (const quint32 w : X11::cardinals(list.get()))
        windows.append(w);
    for (const X11::WindowFacts& f : X11::windowFacts(c, X11::rootWindow(), windows, deadline)) {
        if (!f.valid || !f.viewable ||
            !f.windowTypes.contains(X11::atom("_NET_WM_WINDOW_TYPE_DOCK")))
            continue;
        if (f.rootRect.top() == monitor.top() && f.rootRect.intersects(monitor) &&
            f.rootRect.width() > f.rootRect.height())
            panels.append({f.window, f.rootRect});
    }
    return panels;
}

QImage X11Capture::captureRootRect(const QRect& requested)
{
    xcb_connection_t* c = m_connection;
    if (!c || !rootHasRgb32Layout(c))
        return {};
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    // GetImage fails for any part outside the root window.
    const QRect rect = requested & QRect(0, 0, screen->width_in_pixels, screen->height_in_pixels);
    if (rect.isEmpty())
        return {};
    const std::size_t bytes = std::size_t(rect.width()) * std::size_t(rect.height()) * 4;

    if (m_shmUsable && ensureSegment(bytes)) {
        Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(
            c,
            xcb_shm_get_image(c, screen->root, std::int16_t(rect.x()), std::int16_t(rect.y()),
                              std::uint16_t(rect.width()), std::uint16_t(rect.height()), ~0u,
                              XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment, 0),
            nullptr));
        if (reply)
            return filled(static_cast<const std::uint8_t*>(m_shmAddress), reply->size, rect.size());
    }

    Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        c,
        xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, std::int16_t(rect.x()),
                      std::int16_t(rect.y()), std::uint16_t(rect.width()),
                      std::uint16_t(rect.height()), ~0u),
        nullptr));
    if (!reply)
        return {};
    return filled(xcb_get_image_data(reply.get()),
                  std::size_t(xcb_get_image_data_length(reply.get())), rect.size());
}

QImage X11Capture::filled(const std::uint8_t* data, std::size_t length, QSize size)
{
    // A capture that nobody holds any more is written over instead of allocating anew: large
    // fresh allocations come straight from the kernel, and touching their pages costs more
    // than the copy itself.
    auto reusable = std::find_if(m_buffers.begin(), m_buffers.end(), [size](const QImage& image) {
        return image.size() == size && image.isDetached();
    });
    if (reusable == m_buffers.end()) {
        QImage image(size, QImage::Format_RGB32);
        if (image.isNull())
            return {};
        // Keep a few, dropping one no longer in use first.
        if (m_buffers.size() >= 4) {
            auto unused = std::find_if(m_buffers.begin(), m_buffers.end(),
                                       [](const QImage& i) { return i.isDetached(); });
            m_buffers.erase(unused != m_buffers.end() ? unused : m_buffers.begin());
        }
        m_buffers.append(image);
        image = QImage();
        reusable = m_buffers.end() - 1;
    }
    if (!copyOpaque(data, length, *reusable))
        return {};
    return *reusable;
}

bool X11Capture::ensureSegment(std::size_t bytes)
{
    if (m_shmAddress && m_shmSize >= bytes)
        return true;
    releaseSegment();
    m_shmId = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (m_shmId < 0) {
        m_shmUsable = false;
        return false;
    }
    void* address = shmat(m_shmId, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        shmctl(m_shmId, IPC_RMID, nullptr);
        m_shmId = -1;
        m_shmUsable = false;
        return false;
    }
    m_shmAddress = address;
    m_shmSize = bytes;
    m_segment = xcb_generate_id(m_connection);
    // A server on another machine cannot attach our memory: fall back to plain GetImage.
    const bool attached = !Reply<xcb_generic_error_t>(xcb_request_check(
        m_connection, xcb_shm_attach_checked(m_connection, m_segment, std::uint32_t(m_shmId), 0)));
    // Marked for removal now, so the segment goes away with the last detach even after a crash.
    shmctl(m_shmId, IPC_RMID, nullptr);
    if (!attached) {
        shmdt(m_shmAddress);
        m_shmAddress = nullptr;
        m_shmSize = 0;
        m_shmId = -1;
        m_shmUsable = false;
        return false;
    }
    return true;
}

void X11Capture::releaseBuffers()
{
    endRedirection();
    m_buffers.clear();
    // Pictures of a whole monitor (captures, the tinted desktop picture) were freed by now, but
    // glibc keeps freed heap for reuse once it has raised its mmap threshold past their size:
    // hand it back, so going back to no cover gives the memory back.
    malloc_trim(0);
    releaseSegment();
}

void X11Capture::releaseSegment()
{
    if (!m_shmAddress)
        return;
    // The connection is Qt's; it may already be closed when the platform goes last.
    if (xcb_connection_t* c = X11::connection(); c && c == m_connection) {
        xcb_shm_detach(c, m_segment);
        xcb_flush(c);
    }
    shmdt(m_shmAddress);
    m_shmAddress = nullptr;
    m_shmSize = 0;
    m_shmId = -1;
}
