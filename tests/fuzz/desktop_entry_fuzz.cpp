// The desktop-entry reader on an arbitrary file, found by its id and through StartupWMClass.
#include "FuzzSupport.h"
#include "platform/DesktopEntryNames.h"

#include <QDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString dir = [] {
        const QString path = Fuzz::scratchDir() + QStringLiteral("/applications");
        QDir().mkpath(path);
        return path;
    }();
    Fuzz::writeFile(dir + QStringLiteral("/fuzzed.desktop"), Fuzz::bytes(data, size));
    DesktopEntryNames names({dir});
    (void)names.name(QStringLiteral("fuzzed"), {}, {});
    (void)names.name({}, QStringLiteral("instance"), QStringLiteral("Class"));
    return 0;
}
