#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstring>

namespace {

constexpr char kEnterAltScreen[] = "\x1b[?1049h\x1b[H";
constexpr char kLeaveAltScreen[] = "\x1b[?1049l";
constexpr unsigned char kCtrlD = 4;
constexpr unsigned char kCtrlU = 21;
constexpr unsigned char kEsc = 27;
constexpr unsigned char kBackspace = 8;
constexpr unsigned char kDelete = 127;

void writeAll(const char* data, size_t len) {
    while (len > 0) {
        const ssize_t n = write(STDOUT_FILENO, data, len);
        if (n <= 0) return;
        data += n;
        len -= static_cast<size_t>(n);
    }
}

}  // namespace

Terminal::Terminal() : mOpen(false), mSaved(), mEscape(0) {}

Terminal::~Terminal() { restore(); }

bool Terminal::open() {
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO)) return false;
    if (tcgetattr(STDIN_FILENO, &mSaved) != 0) return false;
    struct termios raw = mSaved;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 0;
    raw.c_cc[VTIME] = 0;
    if (tcsetattr(STDIN_FILENO, TCSANOW, &raw) != 0) return false;
    mOpen = true;
    writeAll(kEnterAltScreen, sizeof(kEnterAltScreen) - 1);
    return true;
}

void Terminal::restore() {
    if (!mOpen) return;
    mOpen = false;
    tcsetattr(STDIN_FILENO, TCSANOW, &mSaved);
    writeAll(kLeaveAltScreen, sizeof(kLeaveAltScreen) - 1);
}

void Terminal::size(int* width, int* height) const {
    struct winsize ws;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0 && ws.ws_row > 0) {
        *width = ws.ws_col;
        *height = ws.ws_row;
    } else {
        *width = 80;
        *height = 24;
    }
}

void Terminal::draw(const std::vector<std::string>& lines, const std::string& prompt) {
    std::string screen = "\x1b[H";
    for (const std::string& line : lines) screen += line + "\x1b[K\r\n";
    screen += prompt + mEditing + "\x1b[K\x1b[J";
    writeAll(screen.data(), screen.size());
}

void Terminal::readKeys(std::vector<std::string>* lines, bool* eof) {
    *eof = false;
    unsigned char buf[256];
    for (;;) {
        const ssize_t n = read(STDIN_FILENO, buf, sizeof(buf));
        // VMIN 0: nothing (more) available; a terminal that went away sends SIGHUP.
        if (n <= 0) return;
        for (ssize_t i = 0; i < n; ++i) {
            const unsigned char c = buf[i];
            if (mEscape > 0) {
                // Arrow and function keys: ESC [ ... final byte; they do nothing here.
                if (mEscape == 2 && c != '[' && c != 'O') {
                    mEscape = 0;
                } else if (mEscape == 1 && c >= 0x40 && c <= 0x7E) {
                    mEscape = 0;
                } else if (mEscape == 2) {
                    mEscape = 1;
                }
                continue;
            }
            if (c == '\r' || c == '\n') {
                lines->push_back(mEditing);
                mEditing.clear();
                continue;
            }
            if (c == kCtrlD && mEditing.empty()) {
                *eof = true;
                return;
            }
            if (c == kEsc) {
                mEscape = 2;
            } else if (c == kBackspace || c == kDelete) {
                // Removes one whole UTF-8 character.
                while (!mEditing.empty()) {
                    const unsigned char last = static_cast<unsigned char>(mEditing.back());
                    mEditing.pop_back();
                    if ((last & 0xC0) != 0x80) break;
                }
            } else if (c == kCtrlU) {
                mEditing.clear();
            } else if (c >= 0x20) {
                mEditing += static_cast<char>(c);
            }
        }
    }
}
