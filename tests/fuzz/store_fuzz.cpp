// The defaults store reading a file of arbitrary bytes: every key read, one write, and the
// user's file never lost (moved aside with its exact bytes, or read and rewritten).
#include "FuzzSupport.h"
#include "core/DefaultsStore.h"

#include <QFileInfo>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::silenceLog();
    const QByteArray input = Fuzz::bytes(data, size);
    const QString path = Fuzz::scratchDir() + QStringLiteral("/defaults.json");
    Fuzz::writeFile(path, input);
    {
        DefaultsStore store(path);
        for (const StoredKey* key : StoredKeys::all) {
            (void)store.value(*key);
            (void)store.boolValue(*key);
            (void)store.stringValue(*key);
            (void)store.stringListValue(*key);
        }
        store.setBool(StoredKeys::showInDock, false);
        if (!store.movedAsidePath().isEmpty()) {
            QFile aside(store.movedAsidePath());
            if (!aside.open(QIODevice::ReadOnly) || aside.readAll() != input)
                std::abort(); // the user's file was changed
            aside.close();
            aside.remove();
        } else if (!QFileInfo::exists(path)) {
            std::abort(); // neither kept nor moved aside
        }
    }
    QFile::remove(path);
    return 0;
}
