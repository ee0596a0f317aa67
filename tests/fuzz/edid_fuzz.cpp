// The EDID product-name reader on arbitrary bytes: a monitor (or a dummy driver) supplies them.
#include "FuzzSupport.h"
#include "platform/x11/X11RandR.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString name = X11::parseEdidProductName(Fuzz::bytes(data, size));
    // Thirteen characters at most, as the descriptor holds.
    if (name.size() > 13)
        __builtin_trap();
    return 0;
}
