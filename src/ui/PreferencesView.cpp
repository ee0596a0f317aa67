// Four rows, each a switch whose label is the title over a dimmed, wrapping explanation.
#include "PreferencesView.h"

#include "core/Preferences.h"

#include <QCheckBox>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {
constexpr int kFormWidth = 420;
}

PreferencesView::PreferencesView(Preferences& prefs, QWidget* parent)
    : QWidget(parent), m_prefs(prefs)
{
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(20, 20, 20, 20);
    // One grouped section holding the rows.
    auto* section = new QFrame(this);
    section->setFrameShape(QFrame::StyledPanel);
    section->setAutoFillBackground(true);
    section->setBackgroundRole(QPalette::Base);
    auto* rows = new QVBoxLayout(section);
    rows->setContentsMargins(14, 10, 14, 10);
    rows->setSpacing(12);
    outer->addWidget(section);

    const struct {
        const char* title;
        const char* detail;
        bool (Preferences::*get)() const;
        void (Preferences::*set)(bool);
    } table[] = {
        {QT_TR_NOOP("Restore settings on launch"),
         QT_TR_NOOP(
             "Re-apply your last desktop, background, and menu-bar choices when Quillet opens."),
         &Preferences::restoreOnLaunch, &Preferences::setRestoreOnLaunch},
        {QT_TR_NOOP("Show in Dock"),
         QT_TR_NOOP(
             "Hide the Dock icon to run as a background utility (use the menu bar to reopen)."),
         &Preferences::showInDock, &Preferences::setShowInDock},
        {QT_TR_NOOP("Show in menu bar"),
         QT_TR_NOOP("Add a menu-bar item to show the window or quit."), &Preferences::showInMenuBar,
         &Preferences::setShowInMenuBar},
        {QT_TR_NOOP("Launch at login"), QT_TR_NOOP("Open Quillet automatically when you log in."),
         &Preferences::launchAtLogin, &Preferences::setLaunchAtLogin},
    };
    for (const auto& entry : table) {
        QCheckBox* toggle = row(tr(entry.title), tr(entry.detail), entry.get, entry.set);
        rows->addWidget(toggle->parentWidget());
    }

    // What the window's close button does depends on the tray icon; saying it here spares the
    // user a surprise either way.
    m_closingNote = new QLabel(this);
    m_closingNote->setObjectName(QStringLiteral("closingNote"));
    m_closingNote->setWordWrap(true);
    QFont caption = m_closingNote->font();
    caption.setPointSizeF(caption.pointSizeF() * 0.85);
    m_closingNote->setFont(caption);
    m_closingNote->setForegroundRole(QPalette::PlaceholderText);
    outer->addWidget(m_closingNote);

    connect(&m_prefs, &Preferences::changed, this, &PreferencesView::refresh);
    setFixedWidth(kFormWidth);
    refresh();
}

void PreferencesView::fitHeight()
{
    // As tall as the rows and the note need at that width (the explanations wrap), no taller.
    layout()->invalidate();
    layout()->activate();
    setFixedHeight(layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(kFormWidth)
                                                 : layout()->totalSizeHint().height());
}

QString PreferencesView::closingNote() const
{
    return m_closingNote->text();
}

QCheckBox* PreferencesView::row(const QString& title, const QString& detail,
                                bool (Preferences::*get)() const, void (Preferences::*set)(bool))
{
    auto* container = new QWidget(this);
    auto* grid = new QGridLayout(container);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(2);

    auto* titleLabel = new QLabel(title, container);
    auto* detailLabel = new QLabel(detail, container);
    detailLabel->setWordWrap(true);
    QFont caption = detailLabel->font();
    caption.setPointSizeF(caption.pointSizeF() * 0.85);
    detailLabel->setFont(caption);
    detailLabel->setForegroundRole(QPalette::PlaceholderText);

    auto* toggle = new QCheckBox(container);
    toggle->setAccessibleName(title);
    toggle->setAccessibleDescription(detail);
    toggle->setObjectName(title);
    titleLabel->setBuddy(toggle);

    grid->addWidget(titleLabel, 0, 0);
    grid->addWidget(detailLabel, 1, 0);
    grid->addWidget(toggle, 0, 1, 2, 1, Qt::AlignRight | Qt::AlignVCenter);
    grid->setColumnStretch(0, 1);

    connect(toggle, &QCheckBox::clicked, this, [this, set](bool on) { (m_prefs.*set)(on); });
    m_rows.append({toggle, get});
    return toggle;
}

QCheckBox* PreferencesView::toggle(const QString& title) const
{
    return findChild<QCheckBox*>(title);
}

void PreferencesView::refresh()
{
    for (const auto& [toggle, get] : std::as_const(m_rows)) {
        const QSignalBlocker block(toggle);
        toggle->setChecked((m_prefs.*get)());
    }
    // Follows the tray preference, as closing the window does.
    m_closingNote->setText(m_prefs.showInMenuBar()
                               ? tr("Closing the main window keeps Quillet running; reopen it "
                                    "from the menu-bar item.")
                               : tr("Closing the main window quits Quillet and puts the desktop "
                                    "back."));
    fitHeight();
}
