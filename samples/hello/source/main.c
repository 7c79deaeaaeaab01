#include "Greeting.h"
#include "MacInterfaces.h"

/* The whole sample application: one alert that shows the framework's greeting. */
int main(void)
{
    const char* greeting = greetingFor("a disk image that was made on Linux");
    puts(greeting);

    CFStringRef title = CFStringCreateWithCString(0, "Hello Vandor", encodingUTF8);
    CFStringRef message = CFStringCreateWithCString(0, greeting, encodingUTF8);
    unsigned long response = 0;
    return CFUserNotificationDisplayAlert(
        0, noteAlertLevel, 0, 0, 0, title, message, 0, 0, 0, &response);
}
