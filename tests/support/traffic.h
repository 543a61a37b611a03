// Compares recorded traffic with a file of tests/traffic: the conversation as it should
// be, written by hand. Lines match in order.
//
//   # a comment                    also behind a line
//   card data > 00000002           a line of the record
//   data 002A x 3                  the same line three times
//   ...                            anything, up to the next line that matches
//   reg 12 0400                    a register of a bus camera: address 800C, data 0400
//   byte 62 0001                   by plain number, as on 28, 70 and 71: address 003E, data 0001
//   read *                         a line that begins so
//   $buffer                        a value that the test gives, anywhere in a line
//   clock: reg 12 0004; reg 12 0000    gives lines a name,
//   clock                          which stands for them
//   bits 0101                      the names 0, 1, 0, 1 in turn
//   80 times clock                 the line or name so many times
//   any sleep 1 | usb queue *      as many lines of these kinds as there are, or none
//   usb + 9C 00                    goes on with the write before it, wherever the record
//   adaptor + 001C 0000            begins a new line
#pragma once
#include <string>
#include <utility>
#include <vector>

using TrafficValues = std::vector<std::pair<std::string, std::string>>;

// Empty, or the first line that differs, with what came before and after it. `text` is a
// traffic file, `traffic` the record.
std::string TrafficDiffers(const std::string& text, const std::string& traffic,
                           const TrafficValues& values = {});
// The same for the file at `path` and what the virtual world recorded.
std::string TrafficFileDiffers(const std::string& path, const TrafficValues& values = {});
