// Packet service that rests while a call on GSM takes the radio (3GPP TS 23.060, 16.2.1).
#pragma once

void suspend_start();
