// The icon switch: record the user's style, write the new one, restart the desktop program.
// Commands run one after another, each answered asynchronously by the backend; a restart waits
// until every queued command has run, so a burst of switches restarts the desktop once.
#include "DesktopIcons.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {
const QString kStyleKey = QStringLiteral("style");
} // namespace

DesktopIcons::DesktopIcons(DesktopIconsBackend& backend, QString recordPath)
    : m_backend(backend), m_recordPath(std::move(recordPath))
{
    // A record left behind means a run ended with the icons hidden: they are still ours to
    // give back.
    m_didHide = loadRecord();
}

void DesktopIcons::setHidden(bool hidden)
{
    m_didHide = hidden;
    if (hidden) {
        enqueue([this](std::function<void()> next) {
            if (m_record) {
                next();
                return;
            }
            m_backend.readStyle([this, next](DesktopIconsBackend::ReadResult found) {
                if (!found)
                    qWarning("Quillet: the desktop's icon style could not be read; the icons "
                             "are left as they are");
                else if (saveRecord(*found))
                    m_record = *found;
                next();
            });
        });
        enqueue([this](std::function<void()> next) {
            // Without a record of the user's style nothing is changed.
            if (!m_record) {
                next();
                return;
            }
            m_backend.writeStyle(m_backend.hiddenStyle(), [this, next](bool written) {
                m_restartWanted = m_restartWanted || written;
                next();
            });
        });
        return;
    }
    // Showing gives the user's style back, or the shown style where the user had hidden the
    // icons themselves (they asked to see them now).
    writeThenRestart(
        [this] {
            const Style hiddenStyle = m_backend.hiddenStyle();
            return *m_record == hiddenStyle ? m_backend.shownStyle() : *m_record;
        },
        true);
}

void DesktopIcons::restore()
{
    if (!m_didHide)
        return;
    m_didHide = false;
    writeThenRestart([this] { return *m_record; }, false);
}

void DesktopIcons::writeThenRestart(const std::function<Style()>& style, bool showsWithoutRecord)
{
    enqueue([this, style, showsWithoutRecord](std::function<void()> next) {
        if (!m_record) {
            if (!showsWithoutRecord) {
                next();
                return;
            }
            // Not hidden by us: show them only if they are hidden now.
            m_backend.readStyle([this, next](DesktopIconsBackend::ReadResult found) {
                if (!found || *found != m_backend.hiddenStyle()) {
                    next();
                    return;
                }
                m_backend.writeStyle(m_backend.shownStyle(), [this, next](bool written) {
                    m_restartWanted = m_restartWanted || written;
                    next();
                });
            });
            return;
        }
        const Style wanted = style();
        m_backend.writeStyle(wanted, [this, next, wanted](bool written) {
            if (written) {
                removeRecord();
                m_record.reset();
                // The running program already shows no icons when the user's style hides them.
                m_restartWanted = m_restartWanted || wanted != m_backend.hiddenStyle();
            } else {
                // Kept on disk too: the next launch tries again.
                qWarning("Quillet: the desktop's icon style could not be given back; it will be "
                         "tried again at the next launch");
            }
            next();
        });
    });
}

void DesktopIcons::releaseRestarts(bool waitForReady)
{
    m_restartsHeld = false;
    m_waitForReady = waitForReady;
    if (!waitForReady && m_waitingForDesktop) {
        // The restarted program no longer needs us; stop waiting for it.
        ++m_restartGeneration;
        m_waitingForDesktop = false;
        m_running = false;
        m_desktopReady = true;
    }
    runSteps();
}

void DesktopIcons::enqueue(Step step)
{
    m_steps.push_back(std::move(step));
    runSteps();
}

void DesktopIcons::runSteps()
{
    // A backend that answers at once calls back in here: the loop below goes on instead.
    if (m_inRunLoop)
        return;
    m_inRunLoop = true;
    while (!m_running) {
        if (!m_steps.empty()) {
            Step step = std::move(m_steps.front());
            m_steps.pop_front();
            m_running = true;
            step([this] {
                m_running = false;
                runSteps();
            });
        } else if (m_restartWanted && !m_restartsHeld && (!m_mayRestart || m_mayRestart())) {
            startRestart();
        } else {
            break;
        }
    }
    m_inRunLoop = false;
    if (isSettled())
        emit settled();
}

void DesktopIcons::startRestart()
{
    m_restartWanted = false;
    const int generation = ++m_restartGeneration;
    if (!m_waitForReady) {
        m_backend.restartDesktop([] {});
        return;
    }
    m_running = true;
    m_waitingForDesktop = true;
    m_desktopReady = false;
    m_backend.restartDesktop([this, generation] {
        if (generation != m_restartGeneration)
            return;
        m_waitingForDesktop = false;
        m_running = false;
        m_desktopReady = true;
        emit desktopReady();
        runSteps();
    });
}

// --- the record of the user's style ------------------------------------------------------------

bool DesktopIcons::loadRecord()
{
    QFile file(m_recordPath);
    if (m_recordPath.isEmpty() || !file.exists())
        return false;
    if (file.open(QIODevice::ReadOnly)) {
        const QJsonObject object = QJsonDocument::fromJson(file.read(4096)).object();
        const QJsonValue style = object.value(kStyleKey);
        if (style.isNull()) {
            m_record = Style();
            return true;
        }
        if (style.isDouble() && style.toDouble() == style.toInt()) {
            m_record = Style(style.toInt());
            return true;
        }
    }
    // Unusable: keep the bytes for the user, out of the way of the next record.
    file.close();
    const QString aside = m_recordPath + QStringLiteral(".corrupt-") +
                          QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QFile::rename(m_recordPath, aside);
    qWarning("Quillet: the record of the desktop icon style was unreadable and was moved to %s",
             qPrintable(aside));
    return false;
}

bool DesktopIcons::saveRecord(const Style& style)
{
    QDir().mkpath(QFileInfo(m_recordPath).absolutePath());
    QJsonObject object;
    object.insert(kStyleKey, style ? QJsonValue(*style) : QJsonValue(QJsonValue::Null));
    QSaveFile file(m_recordPath);
    if (file.open(QIODevice::WriteOnly) &&
        file.write(QJsonDocument(object).toJson(QJsonDocument::Compact)) >= 0 && file.commit())
        return true;
    // Hiding without a record would lose the user's style at a crash.
    qWarning("Quillet: the desktop icons stay as they are: %s could not be written (%s)",
             qPrintable(m_recordPath), qPrintable(file.errorString()));
    return false;
}

void DesktopIcons::removeRecord()
{
    QFile::remove(m_recordPath);
}
