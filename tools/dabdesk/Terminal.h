#ifndef DAB_TOOLS_DABDESK_TERMINAL_H
#define DAB_TOOLS_DABDESK_TERMINAL_H

#include <termios.h>

#include <string>
#include <vector>

// The desk's terminal: keys without echo or line editing (the desk edits the command line
// itself and redraws the whole screen), restored on every way out. Signals keep working:
// Ctrl-C still interrupts. Main thread only.
class Terminal {
public:
    // Main thread; non-blocking.
    Terminal();
    // Main thread; restores the terminal.
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // Switches standard input to key-by-key reading and shows the desk on the alternate
    // screen. False when standard input or output is not a terminal.
    bool open();
    // Restores the terminal's settings and screen. Async-signal-safe; idempotent.
    void restore();

    // Columns and lines of the terminal (80 x 24 when unknown).
    void size(int* width, int* height) const;
    // Draws the lines from the top, then the prompt line with the cursor at its end.
    void draw(const std::vector<std::string>& lines, const std::string& prompt);

    // Non-blocking: feeds the bytes available on standard input to the line being edited;
    // every completed line is appended to *lines. *eof is set on Ctrl-D with an empty line.
    void readKeys(std::vector<std::string>* lines, bool* eof);
    const std::string& editing() const { return mEditing; }

private:
    // All fields: main thread only.
    bool mOpen;
    struct termios mSaved;
    std::string mEditing;  // the command line being typed
    int mEscape;           // state of an escape sequence being skipped
};

#endif  // DAB_TOOLS_DABDESK_TERMINAL_H
