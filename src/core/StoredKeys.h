// Every key of the defaults store with the JSON type it must have and the value used when it
// is absent or of another type. Readers go through this table, so a mistyped value falls back
// in one place.
#pragma once

#include <QJsonValue>
#include <QLatin1StringView>

struct StoredKey {
    enum class Kind { boolean, string, stringList, object };

    QLatin1StringView name;
    Kind kind;
    // Undefined means "absent": the reader decides what absence means.
    QJsonValue fallback;
    // A record of the user's own state that a later launch puts back: it is on disk before the
    // change it records is made, so a crash in between cannot lose it.
    bool writtenBeforeTheChange = false;
};

namespace StoredKeys {
inline const StoredKey hiddenItemLabels{QLatin1StringView("state.hiddenItemLabels"),
                                        StoredKey::Kind::stringList, QJsonValue::Undefined};
inline const StoredKey backgroundColor{QLatin1StringView("state.backgroundColor"),
                                       StoredKey::Kind::string, QJsonValue::Undefined};
inline const StoredKey background{QLatin1StringView("state.background"), StoredKey::Kind::string,
                                  QJsonValue::Undefined};
inline const StoredKey desktopIconsHidden{QLatin1StringView("state.desktopIconsHidden"),
                                          StoredKey::Kind::boolean, false, true};
inline const StoredKey menuBarCover{QLatin1StringView("state.menuBarCover"),
                                    StoredKey::Kind::string, QJsonValue::Undefined};
inline const StoredKey lightWallpaperURL{QLatin1StringView("lightWallpaperURL"),
                                         StoredKey::Kind::string, QJsonValue::Undefined};
inline const StoredKey darkWallpaperURL{QLatin1StringView("darkWallpaperURL"),
                                        StoredKey::Kind::string, QJsonValue::Undefined};
// The record of the user's own desktop pictures is validated by its reader as a whole.
inline const StoredKey originalURLs{QLatin1StringView("wallpaper.originalURLs"),
                                    StoredKey::Kind::object, QJsonValue::Undefined, true};
// The displays' modes, places and rotations before the first switch, by connector; present
// only while a switch may still need undoing (after a crash: at the next launch).
inline const StoredKey originalDisplayModes{QLatin1StringView("display.originalModes"),
                                            StoredKey::Kind::object, QJsonValue::Undefined, true};
inline const StoredKey restoreOnLaunch{QLatin1StringView("pref.restoreOnLaunch"),
                                       StoredKey::Kind::boolean, false};
inline const StoredKey showInDock{QLatin1StringView("pref.showInDock"), StoredKey::Kind::boolean,
                                  true};
inline const StoredKey showInMenuBar{QLatin1StringView("pref.showInMenuBar"),
                                     StoredKey::Kind::boolean, false};
inline const StoredKey launchAtLogin{QLatin1StringView("pref.launchAtLogin"),
                                     StoredKey::Kind::boolean, false};

// Every key above, for checks of a whole store.
inline const StoredKey* const all[] = {
    &hiddenItemLabels, &backgroundColor,   &background,       &desktopIconsHidden,
    &menuBarCover,     &lightWallpaperURL, &darkWallpaperURL, &originalURLs,
    &restoreOnLaunch,  &showInDock,        &showInMenuBar,    &launchAtLogin,
};
} // namespace StoredKeys
