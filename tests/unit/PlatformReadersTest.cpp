// The readers of what the X server and the desktop publish: the monitor name in an EDID, the
// space panels reserve (struts) per monitor, the XSETTINGS blob and the light/dark rule it
// feeds, and application names from desktop entries.
#include "TestDirs.h"
#include "platform/AppearanceRule.h"
#include "platform/DesktopEntryNames.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11RandR.h"
#include "platform/x11/X11Struts.h"
#include "platform/x11/XSettings.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

TEST(Edid, productNameFromTheMonitorDescriptor)
{
    QByteArray edid(128, '\0');
    edid.replace(0, 8, QByteArray("\x00\xff\xff\xff\xff\xff\xff\x00", 8));
    // First descriptor: a detailed timing (non-zero pixel clock) that happens to hold 0xFC.
    edid[54] = 0x3a;
    edid[57] = char(0xFC);
    // A display descriptor: three zero bytes, its tag, a zero, then 13 bytes of space-padded text.
    const auto descriptor = [&](int at, char tag, const QByteArray& text) {
        edid.replace(at, 18, QByteArray(3, '\0') + tag + '\0' + text.leftJustified(13, ' '));
    };
    // Second: serial number text; third: the product name, line-feed ended.
    descriptor(72, char(0xFF), "ABC123\n");
    descriptor(90, char(0xFC), "Studio 27\n");
    EXPECT_EQ(X11::parseEdidProductName(edid), QStringLiteral("Studio 27"));
    // Thirteen characters fill the descriptor without a line feed.
    descriptor(90, char(0xFC), "ABCDEFGHIJKLM");
    EXPECT_EQ(X11::parseEdidProductName(edid), QStringLiteral("ABCDEFGHIJKLM"));

    EXPECT_TRUE(X11::parseEdidProductName(edid.left(127)).isEmpty());
}

TEST(Struts, eachMonitorLosesOnlyWhatReachesIntoIt)
{
    // Two monitors side by side on a 3840x1200 root: 1920x1080 at the left, 1920x1200 right.
    const QSize root(3840, 1200);
    const QRect left(0, 0, 1920, 1080);
    const QRect right(1920, 0, 1920, 1200);

    // A 33-pixel top panel across the left monitor only.
    const auto top = X11::strutsFromProperty({0, 0, 33, 0, 0, 0, 0, 0, 0, 1919, 0, 0}, root);
    EXPECT_EQ(X11::visibleArea(left, top), QRect(0, 33, 1920, 1047));
    EXPECT_EQ(X11::visibleArea(right, top), right);

    // A bottom panel on the taller right monitor is counted from the root's bottom edge, which
    // is that monitor's bottom; it does not reach the shorter left monitor.
    const auto bottom = X11::strutsFromProperty({0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 1920, 3839}, root);
    EXPECT_EQ(X11::visibleArea(right, bottom), QRect(1920, 0, 1920, 1160));
    EXPECT_EQ(X11::visibleArea(left, bottom), left);

    // A left dock and a right dock for the right monitor's rows only.
    const auto sides = X11::strutsFromProperty({64, 48, 0, 0, 0, 1079, 0, 1199, 0, 0, 0, 0}, root);
    EXPECT_EQ(X11::visibleArea(left, sides), QRect(64, 0, 1856, 1080));
    EXPECT_EQ(X11::visibleArea(right, sides), QRect(1920, 0, 1872, 1200));

    // The older four-value form reserves the whole edge, on every monitor it touches.
    const auto legacy = X11::strutsFromProperty({0, 0, 24, 0}, root);
    EXPECT_EQ(X11::visibleArea(left, legacy), QRect(0, 24, 1920, 1056));
    EXPECT_EQ(X11::visibleArea(right, legacy), QRect(1920, 24, 1920, 1176));

    // Struts add up; a malformed property reserves nothing.
    EXPECT_EQ(X11::visibleArea(left, top + sides), QRect(64, 33, 1856, 1047));
    EXPECT_TRUE(X11::strutsFromProperty({0, 0, 33}, root).isEmpty());
}

TEST(Appearance, sourcesInOrderOfAuthority)
{
    using AppearanceRule::isDark;
    EXPECT_FALSE(isDark({}));
    // A definite portal answer wins over everything after it.
    EXPECT_TRUE(isDark({1u, QStringLiteral("Adwaita"), QStringLiteral("default")}));
    EXPECT_FALSE(isDark({2u, QStringLiteral("Adwaita-dark"), QStringLiteral("prefer-dark")}));
    // "No preference" (what the portal says on Xfce) falls through to the theme name.
    EXPECT_TRUE(isDark({0u, QStringLiteral("Greybird-Dark"), std::nullopt}));
    EXPECT_TRUE(isDark({std::nullopt, QStringLiteral("adwaita-DARK"), std::nullopt}));
    // A light theme name leaves the decision to GNOME's setting.
    EXPECT_TRUE(isDark({0u, QStringLiteral("Adwaita"), QStringLiteral("prefer-dark")}));
    EXPECT_FALSE(isDark({0u, QStringLiteral("Adwaita"), QStringLiteral("prefer-light")}));
    EXPECT_FALSE(isDark({std::nullopt, std::nullopt, QStringLiteral("default")}));
}

namespace {

// An XSETTINGS blob in the given byte order: an integer, a colour and two strings.
QByteArray settingsBlob(bool big)
{
    QByteArray data;
    QDataStream out(&data, QIODevice::WriteOnly);
    out.setByteOrder(big ? QDataStream::BigEndian : QDataStream::LittleEndian);
    const auto padded = [&](const QByteArray& bytes) {
        out.writeRawData(bytes.constData(), int(bytes.size()));
        while (data.size() % 4)
            out << quint8(0);
    };
    // Type, an unused byte, the name's length, the padded name, the last-change serial.
    const auto name = [&](quint8 type, const QByteArray& n) {
        out << type << quint8(0) << quint16(n.size());
        padded(n);
        out << quint32(1);
    };
    out << quint8(big ? 1 : 0);
    padded({});
    out << quint32(7) << quint32(4);
    name(0, "Net/DoubleClickTime");
    out << quint32(400);
    name(2, "Gtk/Color");
    out << quint32(0x11112222) << quint32(0x33334444);
    for (const auto& [n, value] : {std::pair<QByteArray, QByteArray>{"Gtk/FontName", "Sans 10"},
                                   {"Net/ThemeName", "Adwaita-dark"}}) {
        name(1, n);
        out << quint32(value.size());
        padded(value);
    }
    return data;
}

} // namespace

TEST(Appearance, readsTheThemeNameFromXSettings)
{
    for (bool big : {false, true}) {
        const QByteArray blob = settingsBlob(big);
        EXPECT_EQ(XSettings::stringSetting(blob, "Net/ThemeName"), QStringLiteral("Adwaita-dark"));
        EXPECT_EQ(XSettings::stringSetting(blob, "Gtk/FontName"), QStringLiteral("Sans 10"));
        // An integer setting is not a string; a missing one is nothing.
        EXPECT_EQ(XSettings::stringSetting(blob, "Net/DoubleClickTime"), std::nullopt);
        EXPECT_EQ(XSettings::stringSetting(blob, "Net/IconThemeName"), std::nullopt);
        // The window-scaling factor and the DPI are integers, read in the blob's byte order.
        EXPECT_EQ(XSettings::intSetting(blob, "Net/DoubleClickTime"), 400);
        EXPECT_EQ(XSettings::intSetting(blob, "Net/ThemeName"), std::nullopt);
        EXPECT_EQ(XSettings::intSetting(blob, "Gdk/WindowScalingFactor"), std::nullopt);
        // Cut anywhere inside the last setting, the blob gives nothing rather than garbage.
        for (qsizetype cut = blob.size() - 1; cut > blob.size() - 20; --cut)
            EXPECT_EQ(XSettings::stringSetting(blob.left(cut), "Net/ThemeName"), std::nullopt);
    }
    EXPECT_EQ(XSettings::stringSetting(QByteArray(), "Net/ThemeName"), std::nullopt);
}

namespace {

void writeEntry(const QString& dir, const QString& id, const QString& body)
{
    QDir().mkpath(dir);
    QFile file(dir + QLatin1Char('/') + id + QStringLiteral(".desktop"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(body.toUtf8());
}

} // namespace

TEST(DesktopEntryNames, findsTheEntryByIdClassOrStartupClass)
{
    TestDirs dirs;
    const QString user = dirs.root() + QStringLiteral("/user/applications");
    const QString system = dirs.root() + QStringLiteral("/system/applications");
    writeEntry(system, "org.example.Notes",
               "[Desktop Entry]\nType=Application\nName=Notes\nName[xx]=Notizen\n");
    writeEntry(system, "gimp",
               "[Desktop Entry]\nName=Image\\sEditor\n[Desktop Action new]\nName=New\n");
    writeEntry(system, "term-emulator", "[Desktop Entry]\nName=Terminal\nStartupWMClass=XTerm\n");
    // The user's hidden entry shadows the system one.
    writeEntry(system, "mail", "[Desktop Entry]\nName=Mail\n");
    writeEntry(user, "mail", "[Desktop Entry]\nName=Mail\nHidden=true\n");
    writeEntry(user, "org.example.Notes", "[Desktop Entry]\nName=My Notes\n");

    DesktopEntryNames names({user, system});
    EXPECT_EQ(names.name("org.example.Notes", "notes", "Notes"), "My Notes");
    // Class, then instance, also in lower case; escapes undone; other groups ignored.
    EXPECT_EQ(names.name("", "gimp-2.10", "Gimp"), "Image Editor");
    EXPECT_EQ(names.name("", "xterm", "XTerm"), "Terminal");
    EXPECT_EQ(names.name("", "mail", "Mail"), std::nullopt);
    EXPECT_EQ(names.name("", "", ""), std::nullopt);
    EXPECT_EQ(names.name("../system/applications/gimp", "", ""), std::nullopt);
}

TEST(DesktopScale, gdkScaleWinsThenTheDesktopsSettingThenOne)
{
    const QByteArray blob = settingsBlob(false);
    // GDK_SCALE, as GTK reads it, overrides the desktop's setting.
    EXPECT_EQ(X11::desktopScaleFrom("2", blob), 2);
    EXPECT_EQ(X11::desktopScaleFrom(" 3\n", {}), 3);
    // Not a whole number of at least 1: the desktop's own setting, else 1.
    EXPECT_EQ(X11::desktopScaleFrom("0", blob), 1);
    EXPECT_EQ(X11::desktopScaleFrom("1.5", blob), 1);
    EXPECT_EQ(X11::desktopScaleFrom("", blob), 1);
    EXPECT_EQ(X11::desktopScaleFrom("", {}), 1);
}
