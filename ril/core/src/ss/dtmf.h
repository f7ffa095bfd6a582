#pragma once

// No tone plays and none waits.
void ss_dtmf_start();
