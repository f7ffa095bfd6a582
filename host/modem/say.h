// The modem's own log: lines on stderr.
#pragma once

void say(const char* format, ...) __attribute__((format(printf, 1, 2)));
void say_nothing();  // from here on
