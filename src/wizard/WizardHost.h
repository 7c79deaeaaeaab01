#pragma once

#include "assets/AssetLibraryManager.h"
#include "build/BuildHost.h"
#include "notarization/NotarizationHost.h"
#include "signing/SigningHost.h"

#include <functional>

class FileIcons;
class KeychainProbe;
class PreFlightInspector;

/// What the wizard and its managers work with. Borrowed services outlive the wizard.
struct WizardHost {
    BuildHost build;
    SigningHost signing;
    NotarizationHost notarization;
    AssetHost assets;
    KeychainProbe& keychain;
    PreFlightInspector& inspector;
    FileIcons& fileIcons;
    std::function<void()> openSettings;
    /// Interrupts the tools that run, and lets none start any more but those that clean up.
    std::function<void()> interruptTools;
};
