#pragma once

class ShellRunner;
class ToolRunner;
class UserDefaults;

/// The services that signing works with. Borrowed: they outlive every operation that was started
/// with them. Copied freely.
struct SigningHost {
    ToolRunner& tools;
    ShellRunner& shell;
    UserDefaults& defaults;
};
