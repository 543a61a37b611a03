#include "tools/sample_files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "emulator/star_field.h"
#include "tools/embedded.h"
#include "tools/little_endian.h"

namespace fs = std::filesystem;

const char* const SampleFileNames[SampleFileCount] = {"qvn.cfg", "camera.cfg", "starfield.raw"};

namespace {

constexpr uint32_t FieldSeed = 13;

struct SampleFile {
    fs::path target;
    fs::path part; // grows beside the target until it is complete
};

using SampleFiles = std::array<SampleFile, SampleFileCount>;

bool WriteAll(std::FILE* stream, const void* bytes, size_t size)
{
    return std::fwrite(bytes, 1, size, stream) == size;
}

bool WriteField(std::FILE* stream)
{
    std::vector<uint16_t> pixels(size_t{SampleFieldColumns} * SampleFieldRows);
    MakeStarField(pixels.data(), SampleFieldColumns, SampleFieldRows, FieldSeed);
    std::vector<uint8_t> row(size_t{SampleFieldColumns} * 2);
    for (size_t y = 0; y < SampleFieldRows; ++y) {
        WriteLittleEndian(&pixels[y * SampleFieldColumns], SampleFieldColumns, row.data());
        if (!WriteAll(stream, row.data(), row.size())) return false;
    }
    return true;
}

bool WriteContents(size_t index, std::FILE* stream)
{
    if (index == 2) return WriteField(stream);
    const EmbeddedFile& file = index == 0 ? QvnCfgFile : CameraCfgFile;
    return WriteAll(stream, file.bytes, file.size);
}

// The reason why the part could not be written, empty if it is complete.
std::string WritePart(size_t index, const fs::path& part)
{
    std::error_code ignored;
    fs::remove(part, ignored); // left by a run that was broken off
    std::FILE* stream = std::fopen(part.string().c_str(), "wb");
    if (!stream) return std::generic_category().message(errno);
    const bool written = WriteContents(index, stream) && std::fflush(stream) == 0;
    const int reason = errno;
    const bool closed = std::fclose(stream) == 0;
    if (!written) return std::generic_category().message(reason);
    return closed ? "" : std::generic_category().message(errno);
}

std::string CheckTarget(const fs::path& target, bool overwrite)
{
    std::error_code failure;
    const fs::file_status status = fs::symlink_status(target, failure);
    if (status.type() == fs::file_type::none) return failure.message();
    if (!fs::exists(status)) return "";
    if (fs::is_directory(status)) return "is a folder";
    return overwrite ? "" : "exists already";
}

// Makes all parts, then gives them their names. The text of the first failure,
// or an empty one.
std::string WriteParts(const SampleFiles& files)
{
    for (size_t index = 0; index < SampleFileCount; ++index) {
        const std::string reason = WritePart(index, files[index].part);
        if (!reason.empty()) {
            return files[index].target.string() + " cannot be written: " + reason;
        }
    }
    for (const SampleFile& file : files) {
        std::error_code failure;
        fs::rename(file.part, file.target, failure);
        if (failure) return file.target.string() + " cannot be written: " + failure.message();
    }
    return "";
}

std::string Write(const fs::path& folder, bool overwrite)
{
    if (folder.empty()) return "no folder is given";
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (failure) return "folder " + folder.string() + " cannot be made: " + failure.message();

    SampleFiles files;
    for (size_t index = 0; index < SampleFileCount; ++index) {
        files[index].target = folder / SampleFileNames[index];
        files[index].part = folder / (std::string(SampleFileNames[index]) + ".part");
        const std::string reason = CheckTarget(files[index].target, overwrite);
        if (!reason.empty()) {
            return files[index].target.string() + ": " + reason + "; nothing was written";
        }
    }
    const std::string text = WriteParts(files);
    if (!text.empty()) {
        for (const SampleFile& file : files) fs::remove(file.part, failure);
    }
    return text;
}

} // namespace

bool WriteSampleFiles(const char* folder, bool overwrite, char* error, size_t room)
{
    const std::string text = Write(folder ? folder : "", overwrite);
    if (!text.empty() && error && room > 0) std::snprintf(error, room, "%s", text.c_str());
    return text.empty();
}
