// Numbers in files have a decimal point, whatever language the host speaks.
#pragma once

// What UsePlainNumbers found on the calling thread.
struct NumberFormat {
    void* threadLocale;
    int threadMode;
    char name[256];
};

// Makes the C library of the calling thread read and write numbers plainly until
// RestoreNumbers, which also undoes what others changed between the two calls.
void UsePlainNumbers(NumberFormat* before);
void RestoreNumbers(const NumberFormat& before);
