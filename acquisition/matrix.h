// The internal frame buffers of a camera: up to 16, one of them current.
#pragma once
#include <cstdint>

// 0 allocates and makes current, 1 resizes the current one to the binned full
// frame, 2 frees the current one.
void Matrix(int32_t operation, int32_t camera);
uint16_t* MatrixPointer(int32_t index, int32_t camera);
void MatrixSet(int32_t index, int32_t camera);
int32_t MatrixGet(int32_t camera);
uint16_t MatrixRead(int32_t x, int32_t y, int32_t camera);
int32_t MatrixSize(int32_t camera); // bytes of operation 1

// Where a frame of `width` by `height` goes: `buffer`, or the current internal
// buffer, grown if it is too small. Null, with LastError 16, if there is none.
uint16_t* FrameTarget(uint16_t* buffer, int32_t width, int32_t height, int32_t camera);
