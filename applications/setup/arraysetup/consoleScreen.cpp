#include "consoleScreen.h"

#include <curses.h>

CONSOLECursesScreen& CONSOLECursesScreen::Instance() {
    static CONSOLECursesScreen screen;
    return screen;
}

void CONSOLECursesScreen::Print(const std::string& iText) {
    printw("%s", iText.c_str());
}

void CONSOLECursesScreen::Refresh() {
    refresh();
}

void CONSOLECursesScreen::Clear() {
    clear();
}

void CONSOLECursesScreen::ReadLine(char* oBuffer, int iLimit) {
    wgetnstr(stdscr, oBuffer, iLimit);
}

void CONSOLECursesScreen::ReadHiddenLine(char* oBuffer, int iLimit) {
    // curses moves to the next line on the unechoed Enter; the two password prompts stand
    // side by side, so the cursor goes back to where the reading began.
    int y = 0;
    int x = 0;
    getyx(stdscr, y, x);
    noecho();
    wgetnstr(stdscr, oBuffer, iLimit);
    echo();
    move(y, x);
}

void CONSOLECursesScreen::Move(int iY, int iX) {
    move(iY, iX);
}

void CONSOLECursesScreen::ClearToEndOfLine() {
    wclrtoeol(stdscr);
}

void CONSOLECursesScreen::GetCursor(int& oY, int& oX) {
    getyx(stdscr, oY, oX);
}
