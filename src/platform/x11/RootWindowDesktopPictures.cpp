// The root pixmap is made on a connection of its own whose resources are kept after it closes
// (RetainPermanent), so the picture outlives the program; the previous setter's pixmap is freed
// by the usual convention (KillClient when _XROOTPMAP_ID and ESETROOT_PMAP_ID agree), and only
// when no running client owns it. Where a desktop program draws the desktop over the root, the
// root and its pixmaps are that program's: nothing is written then.
#include "RootWindowDesktopPictures.h"

#include "X11Connection.h"
#include "X11DesktopProgram.h"
#include "X11RandR.h"
#include "X11Replies.h"
#include "platform/PictureFile.h"

#include <QPainter>
#include <QScopeGuard>
#include <QSysInfo>
#include <cstdlib>
#include <functional>
#include <memory>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

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
std::optional<QRect> monitorRect(const ScreenInfo& screen)
{
    return X11::monitorRect(screen.name, screen.displayId);
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

// Copies 32-bit rows into a new opaque image: the fourth byte may hold anything (depth-32
// pixmaps, some drivers).
QImage opaqueCopy(const uint8_t* data, const QRect& rect)
{
    QImage result(rect.size(), QImage::Format_RGB32);
    if (result.isNull())
        return {};
    const qsizetype rowBytes = qsizetype(rect.width()) * 4;
    for (int y = 0; y < result.height(); ++y) {
        const auto* from = reinterpret_cast<const QRgb*>(data + rowBytes * y);
        auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x)
            line[x] = from[x] | 0xff000000u;
    }
    return result;
}

// A whole monitor's picture through a shared-memory segment: the server writes it straight
// into our memory instead of sending tens of megabytes over the socket (0.4 s at 4K). Null when
// the server cannot (no MIT-SHM, or a server on another machine).
QImage readImageShared(xcb_connection_t* c, xcb_drawable_t drawable, const QRect& rect,
                       qsizetype bytes)
{
    const xcb_query_extension_reply_t* shm = xcb_get_extension_data(c, &xcb_shm_id);
    if (!shm || !shm->present)
        return {};
    const int id = shmget(IPC_PRIVATE, size_t(bytes), IPC_CREAT | 0600);
    if (id < 0)
        return {};
    void* address = shmat(id, nullptr, 0);
    // Marked for removal at once: the segment goes with the last detach, even after a crash.
    shmctl(id, IPC_RMID, nullptr);
    if (address == reinterpret_cast<void*>(-1))
        return {};
    const auto detach = qScopeGuard([address] { shmdt(address); });
    const xcb_shm_seg_t segment = xcb_generate_id(c);
    if (Reply<xcb_generic_error_t>(
            xcb_request_check(c, xcb_shm_attach_checked(c, segment, uint32_t(id), 0))))
        return {};
    Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(
        c,
        xcb_shm_get_image(c, drawable, int16_t(rect.x()), int16_t(rect.y()), uint16_t(rect.width()),
                          uint16_t(rect.height()), ~0u, XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0),
        nullptr));
    xcb_shm_detach(c, segment);
    if (!reply || !serverUsesHostLayout(c, reply->depth) || qsizetype(reply->size) < bytes)
        return {};
    return opaqueCopy(static_cast<const uint8_t*>(address), rect);
}

QImage readImage(xcb_connection_t* c, xcb_drawable_t drawable, const QRect& rect)
{
    const qsizetype bytes = qsizetype(rect.width()) * rect.height() * 4;
    if (QImage shared = readImageShared(c, drawable, rect, bytes); !shared.isNull())
        return shared;
    Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        c,
        xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, int16_t(rect.x()), int16_t(rect.y()),
                      uint16_t(rect.width()), uint16_t(rect.height()), ~0u),
        nullptr));
    if (!reply || !serverUsesHostLayout(c, reply->depth))
        return {};
    if (xcb_get_image_data_length(reply.get()) < bytes)
        return {};
    return opaqueCopy(xcb_get_image_data(reply.get()), rect);
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

void drawZoomed(QPainter& painter, const QRect& area, const QImage& picture)
{
    const double s =
        std::max(double(area.width()) / picture.width(), double(area.height()) / picture.height());
    const QSizeF size(picture.width() * s, picture.height() * s);
    const QRectF target(area.x() + (area.width() - size.width()) / 2,
                        area.y() + (area.height() - size.height()) / 2, size.width(),
                        size.height());
    painter.setClipRect(area);
    painter.fillRect(area, Qt::black);
    if (size.toSize() == area.size() && target.topLeft() == QPointF(area.topLeft())) {
        // A picture of the monitor's own size (a remembered one): pixel for pixel.
        painter.drawImage(area.topLeft(), picture);
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, picture);
}

// The previous setter's pixmap may be freed (with every resource of its closed connection) only
// when it was left by a setter like us: announced under both names, and owned by a client that
// no longer runs. A running program (a desktop program that set both names from its own
// connection) may still draw with it.
bool mayFreePreviousSetter(xcb_connection_t* c, xcb_window_t root, xcb_pixmap_t current,
                           xcb_pixmap_t setter)
{
    return setter != XCB_PIXMAP_NONE && setter == current && !X11::ownerIsRunning(c, root, setter);
}

// Draws one monitor's part of a new root pixmap, starting from what the root shows so that the
// other monitors keep their pictures, and makes it the root's background. `blank` fills the
// root where there was no pixmap to start from. A monitor on which a desktop program draws the
// desktop is left alone; `drawnBy` then names that program.
bool paintMonitor(const ScreenInfo& screen, const std::function<void(QPainter&, QRect)>& paint,
                  quint32 blank, QString& drawnBy)
{
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
    const std::optional<QRect> area = root ? monitorRect(screen) : std::nullopt;
    if (!area || !serverUsesHostLayout(c, root->root_depth)) {
        xcb_disconnect(c);
        return false;
    }
    if (const auto program = X11::desktopProgramCovering(c, root->root, *area)) {
        drawnBy = program->name.isEmpty() ? QStringLiteral("a desktop program") : program->name;
        xcb_disconnect(c);
        return false;
    }
    drawnBy.clear();

    const QRect whole(0, 0, root->width_in_pixels, root->height_in_pixels);
    QImage canvas;
    const xcb_pixmap_t current = pixmapProperty(c, root->root, "_XROOTPMAP_ID");
    if (current != XCB_PIXMAP_NONE) {
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, xcb_get_geometry(c, current), nullptr));
        // A pixmap of another size was drawn for another resolution: only its overlap is kept.
        if (geometry) {
            const QRect overlap = whole.intersected(QRect(0, 0, geometry->width, geometry->height));
            if (!overlap.isEmpty()) {
                canvas = QImage(whole.size(), QImage::Format_RGB32);
                canvas.fill(QColor::fromRgb(blank));
                const QImage part = readImage(c, current, overlap);
                QPainter(&canvas).drawImage(overlap.topLeft(), part);
            }
        }
    }
    if (canvas.isNull()) {
        canvas = QImage(whole.size(), QImage::Format_RGB32);
        canvas.fill(QColor::fromRgb(blank));
    }
    {
        QPainter painter(&canvas);
        paint(painter, *area);
    }

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
    if (mayFreePreviousSetter(c, root->root, current, previousSetter))
        xcb_kill_client(c, previousSetter);
    xcb_set_close_down_mode(c, XCB_CLOSE_DOWN_RETAIN_PERMANENT);
    Reply<xcb_get_input_focus_reply_t> sync(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    const bool ok = sync && !xcb_connection_has_error(c);
    xcb_disconnect(c);
    return ok;
}

// Back to a root without a pixmap: its plain colour, or X's own background when the colour was
// never known. The pixmap left by a setter like us is freed with its client.
bool putBackPlainRoot(std::optional<quint32> pixel, QString& drawnBy)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return false;
    const xcb_window_t root = X11::rootWindow();
    if (const auto program = X11::desktopProgram(c, root)) {
        drawnBy = program->name.isEmpty() ? QStringLiteral("a desktop program") : program->name;
        return false;
    }
    drawnBy.clear();
    const xcb_pixmap_t current = pixmapProperty(c, root, "_XROOTPMAP_ID");
    const xcb_pixmap_t setter = pixmapProperty(c, root, "ESETROOT_PMAP_ID");
    if (pixel) {
        xcb_change_window_attributes(c, root, XCB_CW_BACK_PIXEL, &*pixel);
    } else {
        const uint32_t none = XCB_BACK_PIXMAP_NONE;
        xcb_change_window_attributes(c, root, XCB_CW_BACK_PIXMAP, &none);
    }
    xcb_clear_area(c, 0, root, 0, 0, 0, 0);
    xcb_delete_property(c, root, internAtom(c, "_XROOTPMAP_ID"));
    xcb_delete_property(c, root, internAtom(c, "ESETROOT_PMAP_ID"));
    if (mayFreePreviousSetter(c, root, current, setter))
        xcb_kill_client(c, setter);
    Reply<xcb_get_input_focus_reply_t> sync(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    return sync && !xcb_connection_has_error(c);
}

// The colour of a root without a pixmap, read at points of the monitor that no window covers;
// nothing when no point is free or the points disagree (a pattern, not a colour).
std::optional<quint32> plainRootColour(const ScreenInfo& screen)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return std::nullopt;
    const xcb_window_t root = X11::rootWindow();
    const std::optional<QRect> area = monitorRect(screen);
    if (!area)
        return std::nullopt;
    QList<QRect> covered;
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, xcb_query_tree(c, root), nullptr));
    if (!tree)
        return std::nullopt;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, children[i]), nullptr));
        if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(c, xcb_get_geometry(c, children[i]), nullptr));
        if (geometry)
            covered.append(QRect(geometry->x, geometry->y,
                                 geometry->width + 2 * geometry->border_width,
                                 geometry->height + 2 * geometry->border_width));
    }
    std::optional<quint32> colour;
    const int columns = 16, rows = 9;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const QPoint point(area->x() + (2 * column + 1) * area->width() / (2 * columns),
                               area->y() + (2 * row + 1) * area->height() / (2 * rows));
            if (std::any_of(covered.cbegin(), covered.cend(),
                            [&](const QRect& r) { return r.contains(point); }))
                continue;
            const QImage pixel = readImage(c, root, QRect(point, QSize(1, 1)));
            if (pixel.isNull())
                return std::nullopt;
            const quint32 value = pixel.pixel(0, 0) & 0xffffffu;
            if (colour && *colour != value)
                return std::nullopt;
            colour = value;
        }
    }
    return colour;
}

} // namespace

RootWindowDesktopPictures::RootWindowDesktopPictures(const QString& recordDir)
    : m_file(recordDir, QStringLiteral("root")), m_record(m_file.load())
{
}

QString RootWindowDesktopPictures::recordKey(const ScreenInfo& screen) const
{
    return screen.outputName.isEmpty() ? screen.name : screen.outputName;
}

bool RootWindowDesktopPictures::holdsRecord(const ScreenInfo& screen) const
{
    return m_record.contains(recordKey(screen));
}

std::optional<quint32> RootWindowDesktopPictures::rememberedSolid() const
{
    for (auto it = m_record.constBegin(); it != m_record.constEnd(); ++it) {
        const QJsonValue solid = it.value().toObject().value(QStringLiteral("solid"));
        if (solid.isDouble())
            return quint32(solid.toDouble());
    }
    return std::nullopt;
}

bool RootWindowDesktopPictures::rememberDesktop(const ScreenInfo& screen)
{
    const QString key = recordKey(screen);
    if (key.isEmpty())
        return false;
    if (holdsRecord(screen))
        return true;
    // A desktop program's picture is its own to keep: nothing to record, nothing will change.
    if (xcb_connection_t* c = X11::connection()) {
        const xcb_window_t root = X11::rootWindow();
        if (const auto area = monitorRect(screen)) {
            if (const auto program = X11::desktopProgramCovering(c, root, *area)) {
                m_drawnBy =
                    program->name.isEmpty() ? QStringLiteral("a desktop program") : program->name;
                return false;
            }
        }
    }
    QJsonObject entry;
    if (const QImage picture = rootPixmapPart(screen); !picture.isNull()) {
        const QString file = m_file.dir() + QStringLiteral("/desktop-root-") +
                             QString(key).replace(u'/', u'_') + QStringLiteral(".png");
        if (!picture.save(file, "PNG"))
            return false;
        entry.insert(QStringLiteral("picture"), file);
    } else if (const auto colour = plainRootColour(screen)) {
        entry.insert(QStringLiteral("solid"), double(*colour));
    } else {
        entry.insert(QStringLiteral("unknown"), true);
    }
    m_record.insert(key, entry);
    if (!m_file.save(m_record)) {
        m_record.remove(key);
        return false;
    }
    return true;
}

PictureRestore RootWindowDesktopPictures::restoreDesktop(const ScreenInfo& screen)
{
    if (!holdsRecord(screen))
        return PictureRestore::nothingHeld;
    const QString key = recordKey(screen);
    const QJsonObject entry = m_record.value(key).toObject();
    bool ok = false;
    if (entry.contains(QStringLiteral("picture"))) {
        const QImage picture = PictureFile::read(entry.value(QStringLiteral("picture")).toString());
        ok = !picture.isNull() &&
             paintMonitor(
                 screen, [&](QPainter& painter, QRect area) { drawZoomed(painter, area, picture); },
                 rememberedSolid().value_or(0), m_drawnBy);
    } else {
        const bool anyPicture =
            std::any_of(m_record.constBegin(), m_record.constEnd(), [](const QJsonValue& v) {
                return v.toObject().contains(QStringLiteral("picture"));
            });
        const QJsonValue solid = entry.value(QStringLiteral("solid"));
        const std::optional<quint32> colour =
            solid.isDouble() ? std::optional(quint32(solid.toDouble())) : std::nullopt;
        if (!colour)
            m_limitation = QStringLiteral(
                "The desktop background had no picture that could be read back, so X's "
                "default background was put back instead.");
        if (anyPicture) {
            // A neighbour keeps a picture, so the root keeps a pixmap: the colour goes into it.
            ok = paintMonitor(
                screen,
                [&](QPainter& painter, QRect area) {
                    painter.fillRect(area, QColor::fromRgb(colour.value_or(0)));
                },
                colour.value_or(0), m_drawnBy);
        } else {
            ok = putBackPlainRoot(colour, m_drawnBy);
        }
    }
    if (!ok)
        return PictureRestore::failed;
    m_record.remove(key);
    m_file.save(m_record);
    return PictureRestore::restored;
}

bool RootWindowDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    const QImage picture = PictureFile::read(path);
    if (picture.isNull())
        return false;
    return paintMonitor(
        screen, [&](QPainter& painter, QRect area) { drawZoomed(painter, area, picture); },
        rememberedSolid().value_or(0), m_drawnBy);
}

QImage RootWindowDesktopPictures::rootPixmapPart(const ScreenInfo& screen)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return {};
    const xcb_window_t root = X11::rootWindow();
    const xcb_pixmap_t pixmap = pixmapProperty(c, root, "_XROOTPMAP_ID");
    if (pixmap == XCB_PIXMAP_NONE)
        return {};
    const std::optional<QRect> area = monitorRect(screen);
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, pixmap), nullptr));
    if (!area || !geometry)
        return {};
    const QRect part = area->intersected(QRect(0, 0, geometry->width, geometry->height));
    if (part.isEmpty())
        return {};
    return readImage(c, pixmap, part);
}
