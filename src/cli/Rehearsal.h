#pragma once

#include <QString>

/// Whether a tool says that this machine's own authority has signed or notarized something: good
/// for trying things out, and trusted by no Mac.
bool isRehearsal(const QString& said);

/// "Ready for Distribution!", and what a rehearsal's is worth.
QString readyLine(bool isOfRehearsal);
