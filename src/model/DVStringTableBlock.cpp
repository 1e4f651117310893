#include "DVStringTableBlock.h"

#include <optional>

namespace {

// Lengths are written seven bits to a byte, lowest first, and increased by one: 0 says that there is
// no value.
void addLength(DVPool<char> &bytes, uint64_t value)
{
    for (; value >= 0x80; value >>= 7)
        bytes.append(char(value | 0x80));
    bytes.append(char(value));
}

void addValue(DVPool<char> &bytes, std::string_view value)
{
    addLength(bytes, value.data() ? value.size() + 1 : 0);
    bytes.append(value.data(), value.size());
}

std::string_view nextValue(const char *&position)
{
    uint64_t length = 0;
    for (int shift = 0;; shift += 7) {
        const auto byte = static_cast<unsigned char>(*position++);
        length |= uint64_t(byte & 0x7F) << shift;
        if (byte < 0x80)
            break;
    }
    if (length == 0)
        return {};
    const std::string_view value(position, length - 1);
    position += value.size();
    return value;
}

} // namespace

DVStringTableBlock::Details DVStringTableBlock::detailsOf(const Form &form) const
{
    const char *position = details.data() + form.details;
    Details result;
    result.uid = nextValue(position);
    result.note = nextValue(position);
    if (form.isNamed)
        result.categoryName = nextValue(position);
    return result;
}

uint32_t DVStringTableBlock::addDetails(const Details &values, bool isNamed)
{
    const auto offset = uint32_t(details.size());
    addValue(details, values.uid);
    addValue(details, values.note);
    if (isNamed)
        addValue(details, values.categoryName);
    return offset;
}
