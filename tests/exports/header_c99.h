/* What the C99 half of the test tells the C++ half. */
#ifndef HEADER_C99_H
#define HEADER_C99_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes and offsets of the records as a C compiler lays them out. */
extern const size_t CLayout[10];

/* 1 if callbacks and constants mean in C what they mean in C++. */
int CanBeUsedFromC(void);

#ifdef __cplusplus
}
#endif

#endif
