// The wallpaper well.
#include "WallpaperWell.h"

#include "Look.h"
#include "MiniScreen.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QEnterEvent>
#include <QFileDialog>
#include <QImageReader>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QPainterPath>
#include <QStandardPaths>
#include <QToolButton>
#include <QUrl>
#include <cmath>

namespace {

QFont labelFont()
{
    return Look::systemFont(10);
}

// The clear symbol: a white cross on a black disc at 55 % opacity, drawn by us so it reads on
// any picture whatever the icon theme.
QIcon clearIcon(qreal devicePixelRatio)
{
    const int device = int(std::ceil(WallpaperWell::clearSize * devicePixelRatio));
    QPixmap pixmap(device, device);
    pixmap.fill(Qt::transparent);
    {
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.scale(device / 13.0, device / 13.0);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor::fromRgbF(0, 0, 0, 0.55f));
        p.drawEllipse(QRectF(0, 0, 13, 13));
        p.setPen(QPen(Qt::white, 1.5, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(4.4, 4.4), QPointF(8.6, 8.6));
        p.drawLine(QPointF(8.6, 4.4), QPointF(4.4, 8.6));
    }
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return QIcon(pixmap);
}

} // namespace

WallpaperWell::WallpaperWell(const QString& label, const std::optional<QString>& path,
                             QWidget* parent)
    : QAbstractButton(parent)
{
    Look::whenThemeSymbolsArrive(this, [this] { update(); });
    setText(label);
    setAccessibleName(label);
    setFocusPolicy(Qt::TabFocus);
    setAcceptDrops(true);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);

    m_clear = new QToolButton(this);
    m_clear->setToolTip(tr("Clear"));
    m_clear->setAccessibleName(tr("Clear"));
    m_clear->setIcon(clearIcon(devicePixelRatioF()));
    m_clear->setIconSize(QSize(clearSize, clearSize));
    m_clear->setFixedSize(clearSize, clearSize);
    m_clear->setFocusPolicy(Qt::NoFocus);
    m_clear->setCursor(Qt::ArrowCursor);
    m_clear->setStyleSheet(
        QStringLiteral("QToolButton { border: none; background: transparent; padding: 0; }"));
    m_clear->hide();
    connect(m_clear, &QToolButton::clicked, this, &WallpaperWell::cleared);
    connect(this, &QAbstractButton::clicked, this, &WallpaperWell::pick);

    setPath(path);
    resize(sizeHint());
}

void WallpaperWell::setPath(const std::optional<QString>& path)
{
    m_path = path;
    m_image = path ? MiniScreen::readThumbnail(*path) : QImage();
    updateClearButton();
    update();
}

QRectF WallpaperWell::wellRect(int width)
{
    return {std::floor((width - wellWidth) / 2.0), 0.0, double(wellWidth), double(wellHeight)};
}

QString WallpaperWell::pictureFilter()
{
    QStringList patterns{QStringLiteral("*.png"), QStringLiteral("*.jpg"),
                         QStringLiteral("*.jpeg")};
    const QList<QByteArray> readable = QImageReader::supportedImageFormats();
    if (readable.contains("heic") || readable.contains("heif"))
        patterns << QStringLiteral("*.heic") << QStringLiteral("*.heif");
    patterns << QStringLiteral("*.tif") << QStringLiteral("*.tiff");
    for (const QByteArray& format : readable) {
        const QString pattern = QStringLiteral("*.") + QString::fromLatin1(format);
        if (!patterns.contains(pattern))
            patterns << pattern;
    }
    return tr("Pictures (%1)").arg(patterns.join(QLatin1Char(' ')));
}

std::optional<QString> WallpaperWell::firstDroppedFile(const QMimeData* data)
{
    if (!data || !data->hasUrls())
        return std::nullopt;
    const QList<QUrl> urls = data->urls();
    if (urls.isEmpty() || !urls.first().isLocalFile())
        return std::nullopt;
    return urls.first().toLocalFile();
}

QString WallpaperWell::startDirectory(const std::optional<QString>& path)
{
    if (path && QFileInfo(*path).absoluteDir().exists())
        return QFileInfo(*path).absolutePath();
    // Without a picture: the user's Pictures folder (XDG_PICTURES_DIR from user-dirs.dirs, as
    // file choosers on the Linux desktop start), else the home folder.
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    if (!pictures.isEmpty() && QDir(pictures).exists())
        return pictures;
    return QDir::homePath();
}

void WallpaperWell::pick()
{
    QFileDialog dialog(this, tr("Choose a Picture"));
    dialog.setObjectName(QStringLiteral("pictureChooser"));
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setNameFilter(pictureFilter());
    dialog.setDirectory(startDirectory(m_path));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    emit picked(dialog.selectedFiles().first());
}

QSize WallpaperWell::sizeHint() const
{
    const QFontMetrics metrics(labelFont());
    return {std::max(wellWidth, metrics.horizontalAdvance(text()) + 2),
            wellHeight + labelGap + metrics.height()};
}

bool WallpaperWell::hitButton(const QPoint& pos) const
{
    return wellRect(width()).contains(pos);
}

void WallpaperWell::resizeEvent(QResizeEvent* event)
{
    QAbstractButton::resizeEvent(event);
    const QRectF well = wellRect(width());
    m_clear->move(int(well.right()) - clearPadding - clearSize, int(well.top()) + clearPadding);
}

void WallpaperWell::enterEvent(QEnterEvent* event)
{
    setHovering(wellRect(width()).contains(event->position()));
    QAbstractButton::enterEvent(event);
}

void WallpaperWell::leaveEvent(QEvent* event)
{
    setHovering(false);
    QAbstractButton::leaveEvent(event);
}

void WallpaperWell::mouseMoveEvent(QMouseEvent* event)
{
    setHovering(wellRect(width()).contains(event->position()));
    QAbstractButton::mouseMoveEvent(event);
}

void WallpaperWell::setHovering(bool hovering)
{
    if (m_hovering == hovering)
        return;
    m_hovering = hovering;
    updateClearButton();
}

void WallpaperWell::updateClearButton()
{
    m_clear->setVisible(m_path.has_value() && m_hovering);
}

void WallpaperWell::dragEnterEvent(QDragEnterEvent* event)
{
    if (firstDroppedFile(event->mimeData()))
        event->acceptProposedAction();
    else
        event->ignore();
}

void WallpaperWell::dropEvent(QDropEvent* event)
{
    // Only the first item counts; its type is not checked, an unreadable file simply shows the
    // placeholder once the owner stores it.
    const std::optional<QString> file = firstDroppedFile(event->mimeData());
    if (!file) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    emit picked(*file);
}

void WallpaperWell::keyPressEvent(QKeyEvent* event)
{
    // The clear button only appears under the pointer; from the keyboard, Delete or Backspace on
    // the focused well clears it, as in other image fields of the desktop.
    if ((event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) && m_path) {
        emit cleared();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void WallpaperWell::paintEvent(QPaintEvent*)
{
    const QPalette& pal = palette();
    const QColor secondary = Look::secondary(pal);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF well = wellRect(width());
    QPainterPath shape;
    shape.addRoundedRect(well, cornerRadius, cornerRadius);

    painter.save();
    painter.setClipPath(shape);
    if (!m_image.isNull()) {
        painter.drawImage(well, m_image, MiniScreen::fillSource(m_image.size(), well.size()));
    } else {
        painter.fillPath(shape, Look::windowBackground(pal));
        const int size = int(std::round(Look::systemFont(14).pointSizeF() * 4.0 / 3.0));
        painter.drawPixmap(
            QPointF(well.center().x() - size / 2.0, well.center().y() - size / 2.0),
            Look::symbol(QStringLiteral("photo"), size, secondary, devicePixelRatioF()));
    }
    painter.restore();
    Look::strokeInside(painter, well, cornerRadius, 1.0, Look::withOpacity(secondary, 0.40));

    painter.setFont(labelFont());
    painter.setPen(secondary);
    painter.drawText(
        QRectF(0, well.bottom() + labelGap, width(), height() - well.bottom() - labelGap),
        Qt::AlignHCenter | Qt::AlignTop, text());
    if (hasFocus())
        Look::focusRing(painter, well, cornerRadius, palette());
}
