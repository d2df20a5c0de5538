#include "client/file_parts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <string_view>

#include "platform/ascii.h"
#include "platform/file.h"

namespace SMTPClientNS {
namespace {

constexpr const char *EncodingHeader = "Content-Transfer-Encoding: base64";
constexpr const char *UnknownType = "application/octet-stream";

/// libcurl tells the type of a part by these, whoever reads it. Where none fits, a file that it
/// reads itself is UnknownType, and what a callback reads has no type at all.
constexpr std::array<std::u16string_view, 10> ExtensionsKnownToCurl = {
    u".gif", u".jpg", u".jpeg", u".png", u".svg", u".txt", u".htm", u".html", u".pdf", u".xml",
};

/// More than libcurl has asked for, which no read can give: it ends the transfer with
/// CURLE_READ_ERROR.
constexpr auto ReadFailed = static_cast<std::size_t>(-1);

bool IsTypeKnownToCurl(const WideString &path) {
    const std::u16string_view name = path;
    return std::any_of(ExtensionsKnownToCurl.begin(), ExtensionsKnownToCurl.end(),
                       [name](std::u16string_view extension) {
                           return name.size() >= extension.size() &&
                                  FoldsTo(name.substr(name.size() - extension.size()), extension);
                       });
}

/// curl_read_callback; file is the CEncodedFile.
std::size_t ReadFile(char *buffer, std::size_t size, std::size_t count, void *file) noexcept try {
    return static_cast<CEncodedFile *>(file)->Read(buffer, size * count).value_or(ReadFailed);
} catch (const std::bad_alloc &) {
    return ReadFailed;
}

/// curl_seek_callback.
int RewindFile(void *file, curl_off_t offset, int origin) noexcept {
    if (offset != 0 || origin != SEEK_SET) {
        return CURL_SEEKFUNC_CANTSEEK;
    }
    static_cast<CEncodedFile *>(file)->Rewind();
    return CURL_SEEKFUNC_OK;
}

CURLcode TakeOver(const FilePart &part, CEncodedFile &file, curl_off_t encodedSize) {
    curl_mime_encoder(part.part, nullptr);  // What we hand over is encoded already.
    CURLcode result =
        curl_mime_data_cb(part.part, encodedSize, &ReadFile, &RewindFile, nullptr, &file);
    if (result == CURLE_OK && !part.hasType && !IsTypeKnownToCurl(part.path)) {
        result = curl_mime_type(part.part, UnknownType);
    }
    if (result == CURLE_OK) {
        // libcurl writes the headers of a part in this order. A part with an encoder has this one
        // before those that it was given, so ours has to come first.
        std::vector<NarrowString> headers = {EncodingHeader};
        headers.insert(headers.end(), part.headers.begin(), part.headers.end());
        result = SetPartHeaders(part.part, headers);
    }
    return result;
}

}  // namespace

CURLcode TakeOverFiles(SendHandles &handles) noexcept try {
    CURLcode result = CURLE_OK;
    for (auto part = handles.files.begin(); part != handles.files.end() && result == CURLE_OK;
         ++part) {
        const FileStatus status = GetFileStatus(part->path);
        if (status.kind == FileKind::Special) {
            return CURLE_READ_ERROR;
        }
        CEncodedFile &file = handles.encodedFiles.emplace_back(part->path, status.size);
        // libcurl does the same: with a part of unknown length the mail is announced without SIZE.
        const auto size = status.kind == FileKind::Missing
                              ? curl_off_t{-1}
                              : static_cast<curl_off_t>(CEncodedFile::EncodedSize(status.size));
        result = TakeOver(*part, file, size);
    }
    return result;
} catch (const std::bad_alloc &) {
    return CURLE_OUT_OF_MEMORY;
}

}  // namespace SMTPClientNS
