#include "companion/io/ComQuillmereIO_Stream.h"

#include <array>

void ComQuillmereIO_Stream::write(std::string_view text) {
    write(QMRDataView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

QMRData ComQuillmereIO_Stream::readDataFromStartToEnd() {
    seekToOffset(0);
    return readDataFromCurrentToEnd();
}

QMRData ComQuillmereIO_Stream::readDataFromCurrentToEnd() {
    QMRData all;
    std::array<std::uint8_t, 64 * 1024> chunk{};
    while (std::size_t count = read(chunk)) all.insert(all.end(), chunk.begin(), chunk.begin() + count);
    return all;
}
