// RandR mode listing and switching on Qt's X connection.
#include "X11DisplayModes.h"

#include "X11Connection.h"
#include "X11RandR.h"
#include "X11Replies.h"
#include "platform/MonitorLayout.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QSize>
#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>
#include <xcb/randr.h>

namespace {

using X11::Reply;

using Resources = Reply<xcb_randr_get_screen_resources_current_reply_t>;
using OutputInfo = Reply<xcb_randr_get_output_info_reply_t>;
using CrtcInfo = Reply<xcb_randr_get_crtc_info_reply_t>;

Resources screenResources(xcb_connection_t* c)
{
    return Resources(xcb_randr_get_screen_resources_current_reply(
        c, xcb_randr_get_screen_resources_current(c, X11::rootWindow()), nullptr));
}

OutputInfo outputInfo(xcb_connection_t* c, xcb_randr_output_t output, xcb_timestamp_t config)
{
    return OutputInfo(
        xcb_randr_get_output_info_reply(c, xcb_randr_get_output_info(c, output, config), nullptr));
}

CrtcInfo crtcInfo(xcb_connection_t* c, xcb_randr_crtc_t crtc, xcb_timestamp_t config)
{
    return CrtcInfo(
        xcb_randr_get_crtc_info_reply(c, xcb_randr_get_crtc_info(c, crtc, config), nullptr));
}

// A mode's points are its pixels divided by the desktop's scaling factor (1 unless the desktop
// scales its windows): never by the ratio Qt derives from the font DPI, so a 1920 × 1080 mode
// is shown as 1920 × 1080 at 120 dpi, as xrandr shows it.
qreal outputRatio(xcb_randr_output_t)
{
    return X11::desktopScale();
}

PlatformDisplayMode toMode(const xcb_randr_mode_info_t& info, qreal ratio)
{
    PlatformDisplayMode mode;
    mode.id = qint32(info.id);
    mode.pixelWidth = info.width;
    mode.pixelHeight = info.height;
    mode.width = qRound(info.width / ratio);
    mode.height = qRound(info.height / ratio);
    const double dots = double(info.htotal) * double(info.vtotal);
    mode.refresh = dots > 0 ? double(info.dot_clock) / dots : 0.0;
    mode.usableForDesktop =
        (info.mode_flags & (XCB_RANDR_MODE_FLAG_INTERLACE | XCB_RANDR_MODE_FLAG_DOUBLE_SCAN)) == 0;
    return mode;
}

const xcb_randr_mode_info_t* findMode(const xcb_randr_get_screen_resources_current_reply_t* res,
                                      xcb_randr_mode_t id)
{
    const xcb_randr_mode_info_t* modes = xcb_randr_get_screen_resources_current_modes(res);
    const int count = xcb_randr_get_screen_resources_current_modes_length(res);
    for (int i = 0; i < count; ++i) {
        if (modes[i].id == id)
            return &modes[i];
    }
    return nullptr;
}

// The CRTC's size on the screen: a quarter turn swaps width and height.
QSize rotatedSize(int width, int height, uint16_t rotation)
{
    if (rotation & (XCB_RANDR_ROTATION_ROTATE_90 | XCB_RANDR_ROTATION_ROTATE_270))
        return QSize(height, width);
    return QSize(width, height);
}

// Holds the server for the length of one switch, so that no other client sees or changes the
// configuration half-way.
class ServerGrab final {
public:
    explicit ServerGrab(xcb_connection_t* c) : m_c(c) { xcb_grab_server(m_c); }
    ~ServerGrab()
    {
        xcb_ungrab_server(m_c);
        xcb_flush(m_c);
    }
    ServerGrab(const ServerGrab&) = delete;
    ServerGrab& operator=(const ServerGrab&) = delete;

private:
    xcb_connection_t* m_c;
};

bool setScreenSize(xcb_connection_t* c, QSize size)
{
    // The physical size keeps the density the server started with (96 dpi when it reports
    // none), so that programs reading the DPI from it see no change.
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const auto mm = [](int pixels, int setupPixels, int setupMm) {
        return setupPixels > 0 && setupMm > 0 ? quint32(qint64(pixels) * setupMm / setupPixels)
                                              : quint32(qint64(pixels) * 254 / 960);
    };
    const xcb_void_cookie_t cookie = xcb_randr_set_screen_size_checked(
        c, X11::rootWindow(), quint16(size.width()), quint16(size.height()),
        mm(size.width(), screen->width_in_pixels, screen->width_in_millimeters),
        mm(size.height(), screen->height_in_pixels, screen->height_in_millimeters));
    const X11::Reply<xcb_generic_error_t> error(xcb_request_check(c, cookie));
    return error == nullptr;
}

// Everything the queries answer from, read with every request of a step sent before the first
// reply is awaited: three waits on the server, whatever the number of outputs. The first runs
// on a thread of its own, so all go over the scans' connection (Qt's belongs to the interface
// thread), and a stalled server costs one deadline.
X11DisplayModes::Snapshot readSnapshot(xcb_window_t root)
{
    X11DisplayModes::Snapshot result;
    xcb_connection_t* c = X11::scanConnection();
    if (!c || root == XCB_NONE)
        return result;
    const QDeadlineTimer deadline(2000);
    X11::ReplyBatch replies(c);
    const auto primaryCookie = xcb_randr_get_output_primary(c, root);
    const Resources res = replies.take<xcb_randr_get_screen_resources_current_reply_t>(
        xcb_randr_get_screen_resources_current(c, root), deadline);
    if (const auto primary =
            replies.take<xcb_randr_get_output_primary_reply_t>(primaryCookie, deadline))
        result.primary = primary->output;
    if (!res)
        return result;
    const xcb_timestamp_t config = res->config_timestamp;
    const xcb_randr_output_t* outputs = xcb_randr_get_screen_resources_current_outputs(res.get());
    const int count = xcb_randr_get_screen_resources_current_outputs_length(res.get());
    std::vector<xcb_randr_get_output_info_cookie_t> outputCookies;
    for (int i = 0; i < count; ++i)
        outputCookies.push_back(xcb_randr_get_output_info(c, outputs[i], config));
    std::vector<OutputInfo> infos;
    for (const auto& cookie : outputCookies)
        infos.push_back(replies.take<xcb_randr_get_output_info_reply_t>(cookie, deadline));
    std::vector<std::optional<xcb_randr_get_crtc_info_cookie_t>> crtcCookies;
    for (const OutputInfo& info : infos) {
        crtcCookies.push_back(info && info->crtc != XCB_NONE
                                  ? std::optional(xcb_randr_get_crtc_info(c, info->crtc, config))
                                  : std::nullopt);
    }
    for (int i = 0; i < count; ++i) {
        const CrtcInfo crtc =
            crtcCookies[size_t(i)]
                ? replies.take<xcb_randr_get_crtc_info_reply_t>(*crtcCookies[size_t(i)], deadline)
                : nullptr;
        const OutputInfo& info = infos[size_t(i)];
        if (!info)
            continue;
        X11DisplayModes::Output output;
        output.connected = info->connection == XCB_RANDR_CONNECTION_CONNECTED;
        output.hasCrtc = info->crtc != XCB_NONE;
        output.connector = QString::fromUtf8(
            reinterpret_cast<const char*>(xcb_randr_get_output_info_name(info.get())),
            xcb_randr_get_output_info_name_length(info.get()));
        const xcb_randr_mode_t* ids = xcb_randr_get_output_info_modes(info.get());
        const int modeCount = xcb_randr_get_output_info_modes_length(info.get());
        for (int m = 0; m < modeCount; ++m) {
            if (const xcb_randr_mode_info_t* mode = findMode(res.get(), ids[m]))
                output.modes.append(*mode);
        }
        if (crtc && crtc->mode != XCB_NONE) {
            if (const xcb_randr_mode_info_t* mode = findMode(res.get(), crtc->mode))
                output.current = *mode;
            output.position = QPoint(crtc->x, crtc->y);
            output.rotation = crtc->rotation;
        }
        result.order.append(outputs[i]);
        result.outputs.insert(outputs[i], std::move(output));
    }
    return result;
}

} // namespace

X11DisplayModes::X11DisplayModes()
{
    // Begun at once, so that the start-up's first questions seldom wait for the server.
    std::packaged_task<Snapshot()> task([root = X11::rootWindow()] { return readSnapshot(root); });
    m_firstReading = task.get_future();
    std::thread(std::move(task)).detach();
}

X11DisplayModes::~X11DisplayModes()
{
    // The reading ends at its own deadline.
    if (m_firstReading.valid())
        m_firstReading.wait();
}

const X11DisplayModes::Snapshot& X11DisplayModes::snapshot() const
{
    if (m_current)
        return *m_current;
    m_current = m_firstReading.valid() ? m_firstReading.get() : readSnapshot(X11::rootWindow());
    QTimer::singleShot(0, &m_keep, [this] { m_current.reset(); });
    return *m_current;
}

QList<quint32> X11DisplayModes::onlineDisplays() const
{
    QList<quint32> result;
    const Snapshot& state = snapshot();
    for (xcb_randr_output_t id : state.order) {
        const Output& output = state.outputs[id];
        if (output.connected && output.hasCrtc)
            result.append(id);
    }
    return result;
}

quint32 X11DisplayModes::mainDisplay() const
{
    if (const xcb_randr_output_t primary = snapshot().primary; primary != XCB_NONE)
        return primary;
    // No primary output set: the first lit output is what desktops treat as the main one.
    const QList<quint32> online = onlineDisplays();
    return online.isEmpty() ? 0 : online.first();
}

std::optional<PlatformDisplayMode> X11DisplayModes::currentMode(quint32 display) const
{
    const Snapshot& state = snapshot();
    const auto found = state.outputs.constFind(display);
    if (found == state.outputs.constEnd() || !found->current)
        return std::nullopt;
    return toMode(*found->current, outputRatio(display));
}

QList<PlatformDisplayMode> X11DisplayModes::allModes(quint32 display) const
{
    QList<PlatformDisplayMode> result;
    const Snapshot& state = snapshot();
    const auto found = state.outputs.constFind(display);
    if (found == state.outputs.constEnd())
        return result;
    const qreal ratio = outputRatio(display);
    for (const xcb_randr_mode_info_t& mode : found->modes)
        result.append(toMode(mode, ratio));
    return result;
}

std::optional<DisplayPlacement> X11DisplayModes::placement(quint32 display) const
{
    const Snapshot& state = snapshot();
    const auto found = state.outputs.constFind(display);
    if (found == state.outputs.constEnd() || !found->current)
        return std::nullopt;
    return DisplayPlacement{found->connector, found->position, found->rotation};
}

bool X11DisplayModes::switchMode(quint32 display, qint32 modeId)
{
    const bool switched = configure(display, modeId, std::nullopt);
    m_current.reset();
    return switched;
}

bool X11DisplayModes::placeMode(quint32 display, qint32 modeId, const DisplayPlacement& placement)
{
    const bool placed = configure(display, modeId, placement);
    m_current.reset();
    return placed;
}

bool X11DisplayModes::configure(quint32 display, qint32 modeId,
                                const std::optional<DisplayPlacement>& placement)
{
    xcb_connection_t* c = X11::connection();
    if (!c)
        return false;
    // Only CRTCs and the screen size change, through the server: nothing goes to the desktop's
    // stored display configuration, so the next login starts as before. The server is held for
    // the whole change, so no other client sees the monitors half re-placed.
    const ServerGrab grab(c);
    const Resources res = screenResources(c);
    if (!res)
        return false;
    const OutputInfo output = outputInfo(c, display, res->config_timestamp);
    if (!output || output->crtc == XCB_NONE)
        return false;
    const xcb_randr_mode_t* offered = xcb_randr_get_output_info_modes(output.get());
    const int offeredCount = xcb_randr_get_output_info_modes_length(output.get());
    const xcb_randr_mode_t mode = xcb_randr_mode_t(modeId);
    const xcb_randr_mode_info_t* info = findMode(res.get(), mode);
    if (!info || std::find(offered, offered + offeredCount, mode) == offered + offeredCount)
        return false;

    // Every lit CRTC as it is now; the switched one among them.
    struct Lit {
        xcb_randr_crtc_t crtc;
        CrtcInfo info;
        QRect rect;
    };
    std::vector<Lit> lit;
    qsizetype switched = -1;
    const xcb_randr_crtc_t* crtcs = xcb_randr_get_screen_resources_current_crtcs(res.get());
    const int crtcCount = xcb_randr_get_screen_resources_current_crtcs_length(res.get());
    for (int i = 0; i < crtcCount; ++i) {
        CrtcInfo crtc = crtcInfo(c, crtcs[i], res->config_timestamp);
        if (!crtc || crtc->mode == XCB_NONE)
            continue;
        if (crtcs[i] == output->crtc)
            switched = qsizetype(lit.size());
        const QRect rect(crtc->x, crtc->y, crtc->width, crtc->height);
        lit.push_back({crtcs[i], std::move(crtc), rect});
    }
    if (switched < 0)
        return false;
    const Lit& self = lit[size_t(switched)];
    const uint16_t rotation = placement ? uint16_t(placement->rotation) : self.info->rotation;
    if ((self.info->rotations & rotation) != rotation)
        return false;
    const QRect target(placement ? placement->position : self.rect.topLeft(),
                       rotatedSize(info->width, info->height, rotation));
    QList<QRect> before;
    for (const Lit& l : lit)
        before.append(l.rect);
    const QList<QRect> after = MonitorLayout::rearranged(before, switched, target);

    // The screen becomes the bounding box of every lit CRTC at its new place.
    QSize needed(0, 0);
    for (const QRect& r : after)
        needed = needed.expandedTo(QSize(r.x() + r.width(), r.y() + r.height()));
    Reply<xcb_randr_get_screen_size_range_reply_t> range(xcb_randr_get_screen_size_range_reply(
        c, xcb_randr_get_screen_size_range(c, X11::rootWindow()), nullptr));
    if (range) {
        needed = needed.expandedTo(QSize(range->min_width, range->min_height));
        if (needed.width() > range->max_width || needed.height() > range->max_height)
            return false;
    }
    Reply<xcb_get_geometry_reply_t> root(
        xcb_get_geometry_reply(c, xcb_get_geometry(c, X11::rootWindow()), nullptr));
    if (!root)
        return false;
    const QSize current(root->width, root->height);

    // A CRTC must fit the screen at every step: grow first, move and switch, shrink last.
    const QSize grown = current.expandedTo(needed);
    if (grown != current && !setScreenSize(c, grown))
        return false;
    const auto setCrtc = [&](const Lit& l, QPoint at, xcb_randr_mode_t m, uint16_t rot) {
        Reply<xcb_randr_set_crtc_config_reply_t> set(xcb_randr_set_crtc_config_reply(
            c,
            xcb_randr_set_crtc_config(c, l.crtc, XCB_CURRENT_TIME, res->config_timestamp,
                                      int16_t(at.x()), int16_t(at.y()), m, rot,
                                      xcb_randr_get_crtc_info_outputs_length(l.info.get()),
                                      xcb_randr_get_crtc_info_outputs(l.info.get())),
            nullptr));
        return set && set->status == XCB_RANDR_SET_CONFIG_SUCCESS;
    };
    std::vector<size_t> changed;
    bool ok = true;
    for (size_t i = 0; i < lit.size() && ok; ++i) {
        const Lit& l = lit[i];
        const bool isSwitched = qsizetype(i) == switched;
        const bool moved = after[qsizetype(i)].topLeft() != l.rect.topLeft();
        if (!moved && (!isSwitched || (l.info->mode == mode && l.info->rotation == rotation)))
            continue;
        ok = isSwitched ? setCrtc(l, after[qsizetype(i)].topLeft(), mode, rotation)
                        : setCrtc(l, after[qsizetype(i)].topLeft(), l.info->mode, l.info->rotation);
        if (ok)
            changed.push_back(i);
    }
    if (!ok) {
        // Nothing half done: what moved goes back, then the screen size.
        for (size_t i : changed)
            setCrtc(lit[i], lit[i].rect.topLeft(), lit[i].info->mode, lit[i].info->rotation);
        if (grown != current)
            setScreenSize(c, current);
        return false;
    }
    if (needed != grown)
        setScreenSize(c, needed);
    return true;
}
