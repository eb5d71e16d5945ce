// Differential fuzzing of the catalogue file reader. The input's first 11
// bytes are the identifier looked up, the rest the file. A model that holds
// the whole file in memory splits it into lines, picks the lines the reader
// must take and unescapes their texts byte by byte (the C locale has no
// multi-byte characters); the reader, which re-reads long lines from the
// file by position, must hand over exactly the same identifiers and texts.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "locale/catalog_file.h"

namespace {

using Message = std::pair<std::string, std::string>;

std::string model_unescape(const std::string &raw) {
    std::string out;
    for (size_t i = 0; i < raw.size(); ++i) {
        char c = raw[i];
        if (c == '\\' && i + 1 < raw.size()) {
            switch (raw[++i]) {
            case 'b': c = '\b'; break;
            case 'f': c = '\f'; break;
            case 'n': c = '\n'; break;
            case 'r': c = '\r'; break;
            case 't': c = '\t'; break;
            case 'v': c = '\v'; break;
            default: c = raw[i]; break;
            }
        }
        out += c;
    }
    return out;
}

std::vector<Message> model(const std::string &id, const std::string &file) {
    std::vector<Message> messages;
    size_t start = 0;
    while (start < file.size()) {
        size_t end = file.find('\n', start);
        end = end == std::string::npos ? file.size() : end + 1;
        std::string line = file.substr(start, end - start);
        start = end;
        if (line.size() < 13 || line[0] == '#' || line.compare(0, 3, id, 0, 3) != 0 || line[10] != id[10]) continue;
        size_t quote = line.rfind('"');
        size_t text_end = quote != std::string::npos && quote >= 13 ? quote : line.size();
        std::string text = model_unescape(line.substr(13, text_end - 13));
        // The reader hands over C strings: a zero byte ends both.
        messages.emplace_back(std::string(line.c_str(), strnlen(line.c_str(), 11)), text.c_str());
    }
    return messages;
}

bool collect(void *context, const char *id, char *text) {
    static_cast<std::vector<Message> *>(context)->emplace_back(id, text);
    std::free(text);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 11) return 0;
    const std::string id(reinterpret_cast<const char *>(data), 11);
    std::string file(reinterpret_cast<const char *>(data) + 11, size - 11);

    std::FILE *stream = fmemopen(file.empty() ? nullptr : &file[0], file.size(), "rb");
    if (!stream) return 0;
    std::vector<Message> read;
    bool complete = tw::locale::read_catalog(stream, id.c_str(), nullptr, collect, &read);
    std::fclose(stream);

    if (!complete || read != model(id, file)) std::abort();
    return 0;
}
