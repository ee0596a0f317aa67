// The colour codec: any stored text decodes to a colour of 0…1 components, any colour encodes,
// and a colour of whole 8-bit steps survives the round trip exactly.
#include "FuzzSupport.h"
#include "core/Codecs.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(Fuzz::bytes(data, size));
    const RgbColor decoded = Codecs::colorFromHex(text);
    for (double c : {decoded.red, decoded.green, decoded.blue}) {
        if (!(c >= 0.0 && c <= 1.0))
            std::abort();
    }
    (void)Codecs::scanHexLongLong(text);

    if (size >= 3) {
        const RgbColor steps{data[0] / 255.0, data[1] / 255.0, data[2] / 255.0, 1.0};
        if (Codecs::colorFromHex(Codecs::hex(steps)) != steps)
            std::abort();
    }
    if (size >= 3 * sizeof(double)) {
        // Any finite components, however far outside sRGB, encode without overflow.
        double c[3];
        std::memcpy(c, data, sizeof c);
        if (std::isfinite(c[0]) && std::isfinite(c[1]) && std::isfinite(c[2]))
            (void)Codecs::hex({c[0], c[1], c[2], 1.0});
    }
    return 0;
}
