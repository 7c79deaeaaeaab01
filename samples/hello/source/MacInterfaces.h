#pragma once

/* The few system calls of the sample, declared here since this host has no Mac headers. */

typedef const struct __CFString* CFStringRef;
typedef const void* CFTypeRef;

enum { encodingUTF8 = 0x08000100, noteAlertLevel = 1 };

int puts(const char* line);
int snprintf(char* out, unsigned long size, const char* format, ...);

CFStringRef CFStringCreateWithCString(CFTypeRef allocator, const char* text, unsigned encoding);
int CFUserNotificationDisplayAlert(double timeout, unsigned long flags, CFTypeRef icon,
    CFTypeRef sound, CFTypeRef localization, CFStringRef header, CFStringRef message,
    CFStringRef defaultButton, CFStringRef alternateButton, CFStringRef otherButton,
    unsigned long* response);
