// The application's model and preferences on the fake platform, with one standard monitor and
// temporary folders. Set the fakes up first, then call makeModel().
#pragma once

#include "AppModel.h"
#include "DefaultsStore.h"
#include "FakePlatform.h"
#include "FakeScheduler.h"
#include "Preferences.h"
#include "TestDirs.h"

#include <memory>

struct FakeApp {
    TestDirs dirs;
    FakePlatform fake;
    FakeScheduler scheduler;
    DefaultsStore store{dirs.defaultsPath()};
    Preferences prefs{store, *fake.loginItems, nullptr};
    std::unique_ptr<AppModel> model;

    FakeApp() { fake.addStandardMonitor(); }

    AppModel& makeModel()
    {
        model = std::make_unique<AppModel>(
            AppModel::Dependencies{fake, store, scheduler, {dirs.resourceDir()}, &prefs});
        return *model;
    }
};
