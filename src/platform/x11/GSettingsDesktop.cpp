// The background schemas of MATE, GNOME and Cinnamon through the gsettings and dconf tools.
#include "GSettingsDesktop.h"

#include "RootWindowDesktopPictures.h"
#include "platform/PlatformLogging.h"

#include <QColor>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QMap>
#include <QMutexLocker>
#include <QPainter>
#include <QThread>
#include <QUrl>
#include <cmath>

namespace {

const QString kGsettings = QStringLiteral("/usr/bin/gsettings");
const QString kDconf = QStringLiteral("/usr/bin/dconf");
const QString kOptionsKey = QStringLiteral("picture-options");
const QString kPrimaryKey = QStringLiteral("primary-color");
const QString kSecondaryKey = QStringLiteral("secondary-color");
const QString kShadingKey = QStringLiteral("color-shading-type");
const QString kKeys = QStringLiteral("keys");
const QString kMonitors = QStringLiteral("monitors");
// The program's solid-colour pictures: their colour is the desktop's colour as well.
const QString kColorPrefix = QStringLiteral("quillet-color-");

// The keys dconf printed for one folder ("key=value" under "[/]"), and with `subfolders` those
// of the folders below it as "sub/key" (under "[sub]").
QHash<QString, QString> dumpedKeys(const QByteArray& dump, bool subfolders = false)
{
    QHash<QString, QString> keys;
    std::optional<QString> folder;
    for (const QByteArray& raw : dump.split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.startsWith(u'[') && line.endsWith(u']')) {
            const QString name = line.mid(1, line.size() - 2);
            if (name == QLatin1String("/"))
                folder = QString();
            else if (subfolders)
                folder = name + u'/';
            else
                folder.reset();
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (folder && equals > 0)
            keys.insert(*folder + line.left(equals), line.mid(equals + 1));
    }
    return keys;
}

// Scaled to fill `target`, cut off equally on both sides, as the desktops' "zoom" draws it.
void drawZoomed(QPainter& painter, const QImage& picture, const QRectF& target)
{
    if (picture.isNull() || target.isEmpty())
        return;
    const double scale =
        std::max(target.width() / picture.width(), target.height() / picture.height());
    const QSizeF size(picture.width() * scale, picture.height() * scale);
    const QRectF placed(target.center().x() - size.width() / 2,
                        target.center().y() - size.height() / 2, size.width(), size.height());
    painter.save();
    painter.setClipRect(target);
    painter.drawImage(placed, picture);
    painter.restore();
}

} // namespace

// --- key tables ----------------------------------------------------------------------------------

QStringList GSettingsDesktopKeys::recordedKeys() const
{
    QStringList keys{kOptionsKey, kPrimaryKey, kSecondaryKey, kShadingKey};
    for (const auto& [key, value] : fixedValues)
        keys.append(key);
    // The picture last: it goes back after its style and colours.
    keys.append(pictureKey);
    if (!darkPictureKey.isEmpty())
        keys.append(darkPictureKey);
    return keys;
}

const GSettingsDesktopKeys& GSettingsDesktopKeys::mate()
{
    // caja draws org.mate.background. Its show-desktop-icons switch is no use for the icons:
    // caja 1.26 closes its whole desktop then (picture included) and, started for the desktop
    // only, exits. Its per-icon switches hide the icons live and leave the picture drawn.
    static const GSettingsDesktopKeys keys{
        QStringLiteral("MATE"),
        QStringLiteral("mate"),
        QStringLiteral("org.mate.background"),
        QStringLiteral("/org/mate/desktop/background/"),
        QStringLiteral("picture-filename"),
        QString(),
        false,
        {{QStringLiteral("picture-opacity"), QStringLiteral("100")},
         {QStringLiteral("draw-background"), QStringLiteral("true")}},
        QStringLiteral("/org/mate/caja/desktop/"),
        {QStringLiteral("computer-icon-visible"), QStringLiteral("home-icon-visible"),
         QStringLiteral("trash-icon-visible"), QStringLiteral("volumes-visible"),
         QStringLiteral("network-icon-visible")}};
    return keys;
}

const GSettingsDesktopKeys& GSettingsDesktopKeys::gnome()
{
    // GNOME Shell draws the background itself and shows no desktop icons of its own.
    static const GSettingsDesktopKeys keys{
        QStringLiteral("GNOME"),
        QStringLiteral("gnome"),
        QStringLiteral("org.gnome.desktop.background"),
        QStringLiteral("/org/gnome/desktop/background/"),
        QStringLiteral("picture-uri"),
        QStringLiteral("picture-uri-dark"),
        true,
        {{QStringLiteral("picture-opacity"), QStringLiteral("100")}},
        QString(),
        {}};
    return keys;
}

const GSettingsDesktopKeys& GSettingsDesktopKeys::cinnamon()
{
    // Cinnamon draws the background; its slideshow would replace ours. nemo-desktop draws the
    // icons: its layout 'false::false' (the desktop folder on no monitor) takes every icon away
    // live and leaves a bare desktop window, nemo-desktop running and Cinnamon's background
    // showing; its show-desktop-icons switch is only kept for old settings and changes nothing.
    // The layouts nemo offers are the values; anything else is not ours to record.
    static const GSettingsDesktopKeys keys{
        QStringLiteral("Cinnamon"),
        QStringLiteral("cinnamon"),
        QStringLiteral("org.cinnamon.desktop.background"),
        QStringLiteral("/org/cinnamon/desktop/background/"),
        QStringLiteral("picture-uri"),
        QString(),
        true,
        {{QStringLiteral("picture-opacity"), QStringLiteral("100")},
         {QStringLiteral("slideshow/slideshow-enabled"), QStringLiteral("false")}},
        QStringLiteral("/org/nemo/desktop/"),
        {QStringLiteral("desktop-layout")},
        2000,
        {QStringLiteral("'true::false'"), QStringLiteral("'true::true'"),
         QStringLiteral("'false::true'"), QStringLiteral("'false::false'")},
        3000};
    return keys;
}

// --- pictures
// --------------------------------------------------------------------------------------

GSettingsDesktopPictures::GSettingsDesktopPictures(const GSettingsDesktopKeys& keys,
                                                   const QString& recordDir, CommandOutput& tools)
    : m_keys(keys), m_tools(tools), m_file(recordDir, keys.record), m_record(m_file.load())
{
}

QString GSettingsDesktopPictures::monitorKey(const ScreenInfo& screen)
{
    if (!screen.outputName.isEmpty())
        return screen.outputName;
    return screen.displayId ? QString::number(*screen.displayId) : QStringLiteral("screen");
}

std::optional<QString> GSettingsDesktopPictures::desktopPicture(const ScreenInfo&) const
{
    const auto output =
        m_tools.run(kGsettings, {QStringLiteral("get"), m_keys.schema, m_keys.pictureKey});
    if (!output)
        return std::nullopt;
    std::optional<QString> value = GVariantText::unquoted(QString::fromUtf8(*output));
    if (value && m_keys.pictureIsUri)
        value = QUrl(*value).isLocalFile() ? QUrl(*value).toLocalFile() : QString();
    if (!value || value->isEmpty())
        return std::nullopt;
    return value;
}

QImage GSettingsDesktopPictures::snapshotDesktopPicture(const ScreenInfo& screen)
{
    // caja publishes what it draws as the root pixmap; a desktop that does not gives nothing,
    // and the picture setting is read instead.
    return RootWindowDesktopPictures::rootPixmapPart(screen);
}

std::optional<QHash<QString, QString>> GSettingsDesktopPictures::userValues() const
{
    const auto dump = m_tools.run(kDconf, {QStringLiteral("dump"), m_keys.folder});
    if (!dump)
        return std::nullopt;
    return dumpedKeys(*dump, true);
}

bool GSettingsDesktopPictures::holdsRecord(const ScreenInfo& screen) const
{
    QMutexLocker lock(&m_lock);
    return m_record.value(kMonitors).toArray().contains(monitorKey(screen));
}

bool GSettingsDesktopPictures::rememberDesktop(const ScreenInfo& screen)
{
    QMutexLocker lock(&m_lock);
    const QString monitor = monitorKey(screen);
    QJsonArray monitors = m_record.value(kMonitors).toArray();
    if (monitors.contains(monitor))
        return true;
    QJsonObject record = m_record;
    if (!record.contains(kKeys)) {
        const auto values = userValues();
        if (!values)
            return false;
        QJsonObject keys;
        for (const QString& key : m_keys.recordedKeys())
            keys.insert(key, values->contains(key) ? QJsonValue(values->value(key))
                                                   : QJsonValue(QJsonValue::Null));
        record.insert(kKeys, keys);
    }
    monitors.append(monitor);
    record.insert(kMonitors, monitors);
    if (!m_file.save(record))
        return false;
    m_record = record;
    return true;
}

PictureRestore GSettingsDesktopPictures::restoreDesktop(const ScreenInfo& screen)
{
    QMutexLocker lock(&m_lock);
    if (!m_record.value(kMonitors).toArray().contains(monitorKey(screen)))
        return PictureRestore::nothingHeld;
    const QJsonObject keys = m_record.value(kKeys).toObject();
    for (const QString& key : m_keys.recordedKeys()) {
        if (!keys.contains(key))
            continue;
        const QJsonValue value = keys.value(key);
        const QString path = m_keys.folder + key;
        const auto done =
            value.isNull() ? m_tools.run(kDconf, {QStringLiteral("reset"), path})
                           : m_tools.run(kDconf, {QStringLiteral("write"), path, value.toString()});
        if (!done) {
            qCWarning(lcX11, "%s: %s could not be put back", qUtf8Printable(m_keys.desktop),
                      qUtf8Printable(path));
            return PictureRestore::failed;
        }
    }
    m_record = QJsonObject();
    m_file.save(m_record);
    m_shown.clear();
    m_written.clear();
    if (!m_lastComposed.isEmpty())
        QFile::remove(std::exchange(m_lastComposed, QString()));
    return PictureRestore::restored;
}

bool GSettingsDesktopPictures::write(const QList<std::pair<QString, QString>>& values)
{
    // dconf's keyfile form: the folder's own keys under [/], a child schema's under [sub].
    QMap<QString, QString> sections;
    QList<std::pair<QString, QString>> changed;
    for (const auto& [key, value] : values) {
        if (m_written.value(key) == value)
            continue;
        const qsizetype slash = key.lastIndexOf(u'/');
        const QString section = slash < 0 ? QStringLiteral("/") : key.left(slash);
        sections[section] += key.mid(slash + 1) + u'=' + value + u'\n';
        changed.append({key, value});
    }
    if (changed.isEmpty())
        return true;
    // Called with m_lock held (a pass on the worker thread): the wait leaves it free.
    if (const qint64 wait =
            m_lastChange.isValid() ? m_keys.changeGapMs - m_lastChange.elapsed() : 0;
        wait > 0) {
        m_lock.unlock();
        QThread::msleep(quint64(wait));
        m_lock.lock();
    }
    QByteArray text;
    for (auto it = sections.cbegin(); it != sections.cend(); ++it)
        text += (u'[' + it.key() + QStringLiteral("]\n") + it.value() + u'\n').toUtf8();
    if (!m_tools.runWithInput(kDconf, {QStringLiteral("load"), m_keys.folder}, text))
        return false;
    m_lastChange.start();
    for (const auto& [key, value] : changed)
        m_written.insert(key, value);
    return true;
}

QString GSettingsDesktopPictures::composeSpanned()
{
    // The screen in bottom-left points, drawn top-down.
    QRectF whole;
    for (const auto& [frame, path] : std::as_const(m_shown))
        whole = whole.united(frame);
    const QSize size(int(std::lround(whole.width())), int(std::lround(whole.height())));
    if (size.isEmpty())
        return {};
    QImage canvas(size, QImage::Format_RGB32);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QHash<QString, QImage> loaded;
    for (const auto& [frame, path] : std::as_const(m_shown)) {
        if (!loaded.contains(path))
            loaded.insert(path, QImage(path));
        const QRectF target(frame.x() - whole.x(),
                            whole.y() + whole.height() - (frame.y() + frame.height()),
                            frame.width(), frame.height());
        drawZoomed(painter, loaded.value(path), target);
    }
    painter.end();
    // "tinted-": it is one of the program's own pictures, never taken for the user's.
    const QString path =
        m_file.dir() + QStringLiteral("/tinted-spanned-%1.jpg").arg(++m_composedSeq);
    if (!canvas.save(path, "JPEG", 92))
        return {};
    return path;
}

bool GSettingsDesktopPictures::setDesktopPicture(const ScreenInfo& screen, const QString& path)
{
    QMutexLocker lock(&m_lock);
    const QString monitor = monitorKey(screen);
    if (!m_record.value(kMonitors).toArray().contains(monitor))
        return false;
    m_shown.insert(monitor, {screen.frame, path});
    bool onePicture = true;
    for (const auto& [frame, shown] : std::as_const(m_shown))
        onePicture = onePicture && shown == path;
    QString picture = path;
    QString options = QStringLiteral("zoom");
    if (!onePicture) {
        picture = composeSpanned();
        options = QStringLiteral("spanned");
        if (picture.isEmpty())
            return false;
    }
    QList<std::pair<QString, QString>> values = m_keys.fixedValues;
    // A colour of ours is the desktop's colour too: what shows around and under the picture.
    if (onePicture && QFileInfo(path).fileName().startsWith(kColorPrefix)) {
        const QImage colour(path);
        if (!colour.isNull()) {
            const QString hex = GVariantText::quoted(colour.pixelColor(0, 0).name().toUpper());
            values.append({{kShadingKey, QStringLiteral("'solid'")},
                           {kPrimaryKey, hex},
                           {kSecondaryKey, hex}});
        }
    }
    values.append({kOptionsKey, GVariantText::quoted(options)});
    const QString value = GVariantText::quoted(
        m_keys.pictureIsUri ? QUrl::fromLocalFile(picture).toString(QUrl::FullyEncoded) : picture);
    values.append({m_keys.pictureKey, value});
    if (!m_keys.darkPictureKey.isEmpty())
        values.append({m_keys.darkPictureKey, value});
    const bool ok = write(values);
    // The composed picture before is no longer shown.
    if (!onePicture) {
        if (!m_lastComposed.isEmpty() && m_lastComposed != picture)
            QFile::remove(m_lastComposed);
        m_lastComposed = picture;
    }
    return ok;
}

// --- icons
// -------------------------------------------------------------------------------------------

GSettingsDesktopIcons::GSettingsDesktopIcons(const GSettingsDesktopKeys& keys, CommandOutput& tools)
    : m_keys(keys), m_tools(tools)
{
}

DesktopIconsBackend::Style GSettingsDesktopIcons::hiddenStyle() const
{
    // Every key at its hiding value, the highest digit: b^n − 1 in base b.
    const int base = int(m_keys.iconValues.size()) + 1;
    int all = 1;
    for (qsizetype i = 0; i < m_keys.iconKeys.size(); ++i)
        all *= base;
    return m_keys.iconStyleBase + all - 1;
}

DesktopIconsBackend::ReadResult GSettingsDesktopIcons::styleOf(const QByteArray& dump) const
{
    const QHash<QString, QString> set = dumpedKeys(dump);
    const int base = int(m_keys.iconValues.size()) + 1;
    int code = 0;
    int weight = 1;
    for (const QString& key : m_keys.iconKeys) {
        if (set.contains(key)) {
            const qsizetype index = m_keys.iconValues.indexOf(set.value(key));
            if (index < 0)
                return ReadResult();
            code += int(index + 1) * weight;
        }
        weight *= base;
    }
    return code == 0 ? ReadResult(Style()) : ReadResult(Style(m_keys.iconStyleBase + code));
}

void GSettingsDesktopIcons::readStyle(std::function<void(ReadResult)> done)
{
    m_tools.runAsync(this, kDconf, {QStringLiteral("dump"), m_keys.iconFolder},
                     [this, done = std::move(done)](CommandOutput::Output output) {
                         done(output ? styleOf(*output) : ReadResult());
                     });
}

void GSettingsDesktopIcons::writeStyle(Style style, std::function<void(bool)> done)
{
    int code = style ? *style - m_keys.iconStyleBase : 0;
    if (code < 0 || code > *hiddenStyle() - m_keys.iconStyleBase) {
        // Not a style of these switches (one another desktop recorded): left for that desktop.
        done(false);
        return;
    }
    QStringList commands;
    for (const QString& key : m_keys.iconKeys) {
        const int base = int(m_keys.iconValues.size()) + 1;
        const int digit = code % base;
        code /= base;
        commands.append(digit == 0 ? QStringLiteral("reset")
                                   : QStringLiteral("write ") + m_keys.iconValues[digit - 1]);
        commands.back() += u' ' + m_keys.iconFolder + key;
    }
    writeNext(commands, std::move(done));
}

void GSettingsDesktopIcons::writeNext(QStringList commands, std::function<void(bool)> done)
{
    if (commands.isEmpty()) {
        done(true);
        return;
    }
    const QStringList words = commands.takeFirst().split(u' ');
    // dconf write KEY VALUE, or dconf reset KEY.
    const QStringList arguments = words.size() == 3 ? QStringList{words[0], words[2], words[1]}
                                                    : QStringList{words[0], words[1]};
    m_tools.runAsync(
        this, kDconf, arguments,
        [this, commands, done = std::move(done)](CommandOutput::Output output) mutable {
            if (!output) {
                done(false);
                return;
            }
            writeNext(std::move(commands), std::move(done));
        });
}
