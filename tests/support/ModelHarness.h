// A fixture holding an app model over the fake platform, the fake clock and a private settings
// file, with one 1440 × 900 monitor.
#pragma once

#include "AppModel.h"
#include "DefaultsStore.h"
#include "FakePlatform.h"
#include "FakeScheduler.h"
#include "Preferences.h"
#include "TestDirs.h"

#include <gtest/gtest.h>

struct ModelHarness : ::testing::Test {
    TestDirs dirs;
    FakePlatform fake;
    FakeScheduler scheduler;
    std::unique_ptr<DefaultsStore> store = std::make_unique<DefaultsStore>(dirs.defaultsPath());
    std::unique_ptr<Preferences> preferences;
    std::unique_ptr<AppModel> model;

    ModelHarness() { fake.addStandardMonitor(); }

    // A new model, as at launch, over what the store holds now.
    AppModel& make()
    {
        preferences = std::make_unique<Preferences>(*store, *fake.loginItems, nullptr);
        model = std::make_unique<AppModel>(AppModel::Dependencies{
            fake, *store, scheduler, {dirs.resourceDir()}, preferences.get()});
        return *model;
    }
};
