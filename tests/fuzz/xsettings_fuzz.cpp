// The XSETTINGS reader on an arbitrary property value: the blob comes from whichever client owns
// the settings selection.
#include "FuzzSupport.h"
#include "platform/x11/XSettings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray blob = Fuzz::bytes(data, size);
    (void)XSettings::stringSetting(blob, QByteArrayLiteral("Net/ThemeName"));
    // A name taken from the input itself, so matching names are reached too.
    if (size > 16)
        (void)XSettings::stringSetting(blob, blob.mid(16, data[0] % 32));
    return 0;
}
