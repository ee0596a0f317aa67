// The program's own folder for the files it writes while it changes the desktop (the colour
// and tinted pictures, the desktop backends' records): $XDG_DATA_HOME/Quillet, private to the
// user (0700).
#pragma once

#include <QString>

namespace SupportFolder {
// Made on first use. Without a data folder: a private folder under the runtime folder, else one
// with a random name in the temporary folder, never a fixed name another user could claim.
QString path();
} // namespace SupportFolder
