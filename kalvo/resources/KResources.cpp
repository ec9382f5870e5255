#include <kalvo/resources/KResources.h>

#include <strings.h>

namespace {

// Two cells: the tabs that mark positions X and O on a time axis.
const char* const graphMarkers[] = {
    "###########...........",
    "#.........#.#########.",
    "#.#.....#.#.#.......#.",
    "#..#...#..#.#..###..#.",
    "#...#.#...#.#.#...#.#.",
    "#....#....#.#.#...#.#.",
    "#...#.#...#.#.#...#.#.",
    "##.#...#.##.##.###.##.",
    ".##.....##...##...##..",
    "..##...##.....##.##...",
    "....###.........#.....",
};

const char* const sevenSegment[] = {
    // 0, 1, ... 9, minus, point
    ".#####.........#####..#####.........#####..#####..#####..#####..#####...............",
    "#.....#......#......#......##.....##......#............##.....##.....#..............",
    "#.....#......#......#......##.....##......#............##.....##.....#..............",
    "#.....#......#......#......##.....##......#............##.....##.....#..............",
    "#.....#......#......#......##.....##......#............##.....##.....#..............",
    "...............#####..#####..#####..#####..#####.........#####..#####..#####........",
    "#.....#......##............#......#......##.....#......##.....#......#..............",
    "#.....#......##............#......#......##.....#......##.....#......#..............",
    "#.....#......##............#......#......##.....#......##.....#......#..............",
    "#.....#......##............#......#......##.....#......##.....#......#.........##...",
    ".#####.........#####..#####.........#####..#####.........#####..#####..........##...",
};

const char* const labelIcons[] = {
    // information, warning, error, question
    "     bbbbbb            ##            rrrrrr          bbbbbb     ",
    "   bbbbbbbbbb         #yy#         rrrrrrrrrr      bbbbbbbbbb   ",
    "  bbbbb..bbbbb        #yy#        rrrrrrrrrrrr    bbbb....bbbb  ",
    " bbbbbb..bbbbbb      #yyyy#      rrr.rrrrrr.rrr  bbb..bbbb..bbb ",
    " bbbbbbbbbbbbbb      #y##y#      rr...rrrr...rr  bbb..bbbb..bbb ",
    "bbbbbb...bbbbbbb    #yy##yy#    rrrr...rr...rrrrbbbbbbbbb..bbbbb",
    "bbbbbbb..bbbbbbb    #yy##yy#    rrrrr......rrrrrbbbbbbbb..bbbbbb",
    "bbbbbbb..bbbbbbb   #yyy##yyy#   rrrrrr....rrrrrrbbbbbbb..bbbbbbb",
    "bbbbbbb..bbbbbbb   #yyy##yyy#   rrrrrr....rrrrrrbbbbbbb..bbbbbbb",
    "bbbbbbb..bbbbbbb  #yyyy##yyyy#  rrrrr......rrrrrbbbbbbb..bbbbbbb",
    "bbbbbbb..bbbbbbb  #yyyyyyyyyy#  rrrr...rr...rrrrbbbbbbbbbbbbbbbb",
    " bbbbbb..bbbbbb  #yyyyy##yyyyy#  rr...rrrr...rr  bbbbbb..bbbbbb ",
    " bbbbb....bbbbb  #yyyyy##yyyyy#  rrr.rrrrrr.rrr  bbbbbb..bbbbbb ",
    "  bbbbbbbbbbbb  #yyyyyyyyyyyyyy#  rrrrrrrrrrrr    bbbbbbbbbbbb  ",
    "   bbbbbbbbbb   ################   rrrrrrrrrr      bbbbbbbbbb   ",
    "     bbbbbb                          rrrrrr          bbbbbb     ",
};

const char* const handOpen[] = {
    "       ##       ",
    "   ## #..###    ",
    "  #..##..#..#   ",
    "  #..##..#..# # ",
    "   #..#..#..##.#",
    "   #..#..#..#..#",
    " ## #.......#..#",
    "#..##..........#",
    "#...#.........# ",
    " #............# ",
    "  #...........# ",
    "  #..........#  ",
    "   #.........#  ",
    "    #.......#   ",
    "     #......#   ",
    "     #......#   ",
};

const char* const handClose[] = {
    "                ",
    "                ",
    "                ",
    "                ",
    "    ## ## ##    ",
    "   #..#..#..##  ",
    "   #.........#. ",
    "    #.........# ",
    "   ##.........# ",
    "  #...........# ",
    "  #...........# ",
    "  #..........#  ",
    "   #.........#  ",
    "    #.......#   ",
    "     #......#   ",
    "     #......#   ",
};

const char* const handPoint[] = {
    "     ##         ",
    "    #..#        ",
    "    #..#        ",
    "    #..#        ",
    "    #..###      ",
    "    #..#..###   ",
    "    #..#..#..## ",
    " ## #..#..#..#.#",
    "#..##........#.#",
    "#...#..........#",
    " #.............#",
    "  #............#",
    "  #...........# ",
    "   #..........# ",
    "    #........#  ",
    "    #........#  ",
};

const char* const horzAperture[] = {
    "                ",
    "                ",
    "  ##        ##  ",
    "  #.#      #.#  ",
    "  #.#      #.#  ",
    "  #.# #  # #.#  ",
    "  #.##.#.##.#   ",
    "  #.#..........#",
    "  #.#..........#",
    "  #.##.#.##.#   ",
    "  #.# #  # #.#  ",
    "  #.#      #.#  ",
    "  #.#      #.#  ",
    "  ##        ##  ",
    "                ",
    "                ",
};

const char* const vertAperture[] = {
    "                ",
    "                ",
    "  ############  ",
    "  #..........#  ",
    "  ######.#####  ",
    "      #...#     ",
    "     #.....#    ",
    "       ..       ",
    "       ..       ",
    "     #.....#    ",
    "      #...#     ",
    "  ######.#####  ",
    "  #..........#  ",
    "  ############  ",
    "                ",
    "                ",
};

const char* const componentDrag[] = {
    "#               ",
    "##              ",
    "#.#             ",
    "#..#            ",
    "#...#           ",
    "#....#          ",
    "#.....#         ",
    "#......#        ",
    "#....####       ",
    "#.#..#          ",
    "## #..# ####### ",
    "   #..# #.....# ",
    "    ##  #.....# ",
    "        #.....# ",
    "        ####### ",
    "                ",
};

const KImageResource bitmaps[] = {
    {"GRAPH_MARKERS", 22, 11, 1, 0, 0, graphMarkers},
    {"SEVEN_SEGMENT", 84, 11, 1, 0, 0, sevenSegment},
    {"LABEL_ICONS", 64, 16, 32, 0, 0, labelIcons},
};

const KImageResource cursors[] = {
    {"HAND_OPEN", 16, 16, 32, 8, 8, handOpen},
    {"HAND_CLOSE", 16, 16, 32, 8, 8, handClose},
    {"HAND_POINT", 16, 16, 32, 5, 0, handPoint},
    {"HORZ_APERTURE", 16, 16, 32, 8, 8, horzAperture},
    {"VERT_APERTURE", 16, 16, 32, 8, 8, vertAperture},
    {"COMPONENT_DRAG", 16, 16, 32, 0, 0, componentDrag},
};

template <int N>
const KImageResource* find(const KImageResource (&list)[N], const char* name) {
    if (name == nullptr) return nullptr;
    for (const KImageResource& r : list) {
        if (strcasecmp(r.name, name) == 0) return &r;
    }
    return nullptr;
}

}  // namespace

const KImageResource* KResources::findBitmap(const char* name) { return find(bitmaps, name); }
const KImageResource* KResources::findCursor(const char* name) { return find(cursors, name); }

int KResources::getBitmapCount() { return static_cast<int>(sizeof bitmaps / sizeof bitmaps[0]); }
const KImageResource& KResources::getBitmap(int index) { return bitmaps[index]; }
int KResources::getCursorCount() { return static_cast<int>(sizeof cursors / sizeof cursors[0]); }
const KImageResource& KResources::getCursor(int index) { return cursors[index]; }
