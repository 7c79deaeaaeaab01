#pragma once

#include <QString>

class NotaryService;
class ShellRunner;
class UserDefaults;

/// The services that notarization works with. Borrowed: they outlive every operation that was
/// started with them. Copied freely.
struct NotarizationHost {
    NotaryService& service;
    ShellRunner& shell;
    UserDefaults& defaults;
    QString temporaryFolder; // the user's own; archives of applications are made in it
};
