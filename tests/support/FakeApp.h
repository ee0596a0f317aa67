// The application's model and preferences on the fake platform, with one 1440 × 900 monitor,
// the fake clock and temporary folders. Set the fakes up first, then call makeModel().
#pragma once

#include "FakePlatform.h"
#include "FakeScheduler.h"
#include "TestDirs.h"
#include "core/AppModel.h"
#include "core/DefaultsStore.h"
#include "core/Preferences.h"
#include "core/TaskQueue.h"

#include <memory>

struct FakeApp {
    TestDirs dirs;
    FakePlatform fake;
    FakeScheduler scheduler;
    DefaultsStore store{dirs.defaultsPath()};
    std::unique_ptr<Preferences> preferences;
    std::unique_ptr<AppModel> model;

    FakeApp() { fake.addStandardMonitor(); }

    // A new model and preferences, as at launch, over what the store holds now. The panels are
    // captured at once unless a queue for the captures is given.
    AppModel& makeModel(TaskQueue* captureWork = nullptr)
    {
        model.reset();
        preferences = std::make_unique<Preferences>(store, *fake.loginItems, nullptr);
        AppModel::Dependencies deps{
            fake, store, scheduler, {dirs.resourceDir()}, preferences.get()};
        deps.captureWork = captureWork;
        model = std::make_unique<AppModel>(deps);
        return *model;
    }
};
