#include "Board.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace scale {

Board* mapBoard(const std::string& path, bool create) {
    const int fd = ::open(path.c_str(), create ? (O_RDWR | O_CREAT | O_TRUNC) : O_RDWR, 0600);
    if (fd < 0) return nullptr;
    // A new file reads as zeros, which is every counter's start value.
    if (create && ::ftruncate(fd, sizeof(Board)) != 0) {
        ::close(fd);
        return nullptr;
    }
    void* at = ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    return at == MAP_FAILED ? nullptr : static_cast<Board*>(at);
}

void clearBoard(Board& board) {
    board.hold = 0;
    board.measuring = 0;
    for (auto& bin : board.latency) bin = 0;
    board.latencyUnmatched = 0;
    for (Slot& slot : board.slots) {
        slot.playing = 0;
        slot.packetsSent = slot.framesSent = slot.packetsDropped = slot.framesDelivered = 0;
        for (SendStamp& stamp : slot.sent) stamp.frame = stamp.ns = 0;
    }
}

}  // namespace scale
