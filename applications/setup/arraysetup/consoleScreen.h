#ifndef ARRAYSETUP_CONSOLESCREEN_H
#define ARRAYSETUP_CONSOLESCREEN_H

#include <string>

// Everything the wizard does on the console passes through here: the product draws on the
// curses standard screen, and a scripted screen lets the wizard's rules run without a terminal.
class CONSOLEScreen {
public:
    virtual ~CONSOLEScreen() = default;

    virtual void Print(const std::string& iText) = 0;
    virtual void Refresh() = 0;
    virtual void Clear() = 0;
    // Reads one line of at most iLimit characters into oBuffer, NUL-terminated; oBuffer holds
    // at least iLimit + 1 bytes. A failed read leaves oBuffer as it was.
    virtual void ReadLine(char* oBuffer, int iLimit) = 0;
    // The same with nothing echoed, the Enter included: the cursor stays where it was.
    virtual void ReadHiddenLine(char* oBuffer, int iLimit) = 0;
    virtual void Move(int iY, int iX) = 0;
    virtual void ClearToEndOfLine() = 0;
    virtual void GetCursor(int& oY, int& oX) = 0;
};

// The curses standard screen, which main opens and closes.
class CONSOLECursesScreen : public CONSOLEScreen {
public:
    static CONSOLECursesScreen& Instance();

    void Print(const std::string& iText) override;
    void Refresh() override;
    void Clear() override;
    void ReadLine(char* oBuffer, int iLimit) override;
    void ReadHiddenLine(char* oBuffer, int iLimit) override;
    void Move(int iY, int iX) override;
    void ClearToEndOfLine() override;
    void GetCursor(int& oY, int& oX) override;
};

#endif
