// The codes of QV_Status and their texts.
#include <cstring>

#include <gtest/gtest.h>

#include "include/qvn.h"

namespace {

struct CodeText {
    int32_t code;
    const char* text;
};

const CodeText Texts[] = {
    {0, "OK"},
    {1, "Camera not found! Is it turned on ?"},
    {2, "Link failure! Please check the camera link"},
    {3, "Unsupported platform! Check qvn library path"},
    {4, "Interface locked! Please restart the program and try again"},
    {5, "Platform definition not found! Check qvn library path"},
    {6, "CCD definition not found! Check qvn library path"},
    {7, "FW error, zero position not found!"},
    {8, "Memory overflow in pattern generator! Decrease vertical binning"},
    {9, "Memory allocation error in DMA buffer"},
    {10, "Serializer not linked! Please check if remote serializer is turned on"},
    {11, "Invalid serial decoder identifier!"},
    {12, "Unsupported platform in array mode!"},
    {13, "Invalid handle in WD_Open()! Please register the drivers"},
    {14, ""},
    {15, "KZB Interface card not found! Check the card Index"},
    {16, "Memory allocation error in Image buffer"},
    {17, "No USB device connected"},
    {18, "Can't open the USB device"},
    {19, "Can't load the io.dll library, place it into the working directory"},
    {20, "Can't load kzbusb.dll library"},
    {21, ""},
    {22, "Memory allocation error while creating pattern generator data"},
    {23, "Error to creating pattern generator file"},
    {24, "CoProcessor communication error"},
    {25, "ARM communication error"},
    {26, "Register R/W diagnose failed"},
    {27, "Power supply general failure"},
    {28, "DSP out of date! Please update it."},
};

TEST(ErrorModel, EveryCodeHasItsText)
{
    for (const CodeText& row : Texts) {
        ASSERT_NE(QV_ErrorMessage(row.code), nullptr) << row.code;
        EXPECT_STREQ(QV_ErrorMessage(row.code), row.text) << row.code;
    }
}

TEST(ErrorModel, CodesOutsideTheTableHaveNoText)
{
    for (int32_t code : {-1, 29, 30, 100, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(QV_ErrorMessage(code), nullptr) << code;
    }
}

TEST(ErrorModel, CopyingFormGivesTheSameTextsAndReturnsTheBuffer)
{
    for (const CodeText& row : Texts) {
        char buffer[100];
        memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(QV_ErrorMessageVB(row.code, buffer), buffer);
        EXPECT_STREQ(buffer, row.text) << row.code;
        EXPECT_EQ(buffer[strlen(row.text) + 1], '#') << row.code;
    }
}

TEST(ErrorModel, CopyingFormWritesAnEmptyTextForACodeOutsideTheTable)
{
    for (int32_t code : {-1, 29, INT32_MAX, INT32_MIN}) {
        char buffer[4] = {'#', '#', '#', '#'};
        EXPECT_EQ(QV_ErrorMessageVB(code, buffer), buffer);
        EXPECT_STREQ(buffer, "") << code;
        EXPECT_EQ(buffer[1], '#') << code;
    }
}

} // namespace
