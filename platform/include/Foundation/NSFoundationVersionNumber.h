// The number of the Foundation that runs, by which a program tells releases apart. GNUstep's
// headers and the device's older ones leave it out.
#pragma once

#ifdef __cplusplus
extern "C"
#else
extern
#endif
    double NSFoundationVersionNumber;
