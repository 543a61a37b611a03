// The bits of CardControlReg.
#pragma once
#include <cstdint>

// Written.
inline constexpr uint32_t CardReset = 0x1;
inline constexpr uint32_t CardReadCycle = 0x2;
inline constexpr uint32_t CardAddressCycle = 0x4;
inline constexpr uint32_t CardStream = 0x8;     // with CardPixelRead
inline constexpr uint32_t CardPixelRead = 0x10; // pixels arrive
inline constexpr uint32_t CardSerialIdle = 0x20;
inline constexpr uint32_t CardFifoReset = 0x40000;

// Read.
inline constexpr uint32_t CardCycleDone = 0x4000; // parallel cable
inline constexpr uint32_t CardCameraBusy = 0x10000;
inline constexpr uint32_t CardReplyPresent = 0x80000;
inline constexpr uint32_t CardNotLinked1 = 0x200000; // decoder of kind 1
inline constexpr uint32_t CardNotLinked3 = 0x400000; // decoder of kind 3
