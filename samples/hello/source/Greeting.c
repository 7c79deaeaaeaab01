#include "Greeting.h"

#include "MacInterfaces.h"

static char text[256];

const char* greetingFor(const char* name)
{
    snprintf(text, sizeof text, "Hello from %s.", name);
    return text;
}
