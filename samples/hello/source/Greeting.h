#pragma once

/// What the sample says, in the form "Hello from <name>.". Static storage.
const char* greetingFor(const char* name);
