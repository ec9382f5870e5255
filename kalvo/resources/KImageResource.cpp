#include <kalvo/resources/KImageResource.h>

std::uint32_t KImageResource::pixel(int x, int y) const {
    if (x < 0 || y < 0 || x >= width || y >= height) return 0;
    switch (rows[y][x]) {
        case '.':
            return 0xFFFFFFFF;
        case '#':
            return 0xFF000000;
        case 's':
            return 0xFFC0C0C0;
        case 'k':
            return 0xFF808080;
        case 'r':
            return 0xFFFF0000;
        case 'g':
            return 0xFF00A000;
        case 'b':
            return 0xFF0000FF;
        case 'y':
            return 0xFFFFFF00;
        case 'n':
            return 0xFF000080;
        case 'm':
            return 0xFF800000;
        default:
            return 0;
    }
}
