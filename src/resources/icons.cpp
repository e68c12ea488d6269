// The engine's icons, drawn in code, and LoadImageA / DestroyIcon over them.
//
// There are 40 icon resources, ids 102 and 107 to 145. Each is drawn at the
// size asked for (16, 32 or 48 pixels square) from a small design: a shape
// that says what kind of thing it is (a page, a folder, a library book, a
// chip, a board, a waveform screen, a gear, a clock, a person), a colour of
// its own, and a tag with a short label. Lengths in a design are in units of
// a sixteenth of the icon, so that the three sizes look alike; lines are one
// unit wide.
//
// Contents:
//   1. The designs, one per id.
//   2. Drawing: pixels, shapes, the label font.
//   3. Images: LoadImageA, DestroyIcon, kvGetIconPixels.
#include <cmath>
#include <cstring>
#include <set>
#include <vector>

#include "resources/resources.h"

// ---------------------------------------------------------------------------
// 1. Designs
// ---------------------------------------------------------------------------

namespace {

enum iconShape { Page, Folder, Book, Chip, Board, Wave, Gear, Clock, Person };

struct iconDesign {
    int id;
    iconShape shape;
    const char* label; // at most 3 characters of the font below; may be empty
};

// The ids in ascending order. Ids that no table uses (107, 108, 110, ...)
// still have an image, tagged with the last two digits of the id.
const iconDesign designs[] = {
    {102, Page, "U"},     // a user file: what nothing else claims
    {107, Chip, "07"},
    {108, Board, "08"},
    {109, Page, "MV"},    // message viewer log
    {110, Wave, "10"},
    {111, Gear, "OPT"},   // optimiser file
    {112, Book, "12"},
    {113, Folder, "13"},
    {114, Book, "MOD"},   // model libraries
    {115, Board, "LAM"},  // the layout tool's category
    {116, Board, "PCB"},  // a board layout
    {117, Chip, "17"},
    {118, Wave, "SI"},    // the signal integrity tool's category
    {119, Chip, "FK"},    // the logic synthesis tool's category
    {120, Page, "FK"},    // synthesis documents and logs
    {121, Board, "21"},
    {122, Wave, "WV"},    // waveform data
    {123, Wave, "23"},
    {124, Book, "24"},
    {125, Chip, "CIR"},   // circuits, simulation
    {126, Page, "SV"},    // the schematic tool's category
    {127, Page, "SCH"},   // a schematic
    {128, Wave, "STM"},   // simulation stimuli
    {129, Book, "STL"},   // stimulus library
    {130, Book, "SYM"},   // symbol libraries
    {131, Folder, "31"},
    {132, Page, "TXT"},   // text: readme, synthesis source
    {133, Chip, "33"},
    {134, Folder, ""},    // a folder of files under a design
    {135, Page, ""},      // a plain file of the tool family
    {136, Board, "36"},
    {137, Book, "FP"},    // footprint libraries
    {138, Page, "L"},     // layout tool output and reports
    {139, Page, "BOM"},   // bill of materials, reports
    {140, Page, "RPT"},   // optimiser report
    {141, Wave, "41"},
    {142, Wave, "VT"},    // signal integrity files
    {143, Book, "PAD"},   // padstack libraries
    {144, Person, "USR"}, // the user files category
    {145, Clock, "CHK"},  // a checkpoint
};
const int designCount = static_cast<int>(sizeof(designs) / sizeof(designs[0]));

const iconDesign* findDesign(int id) {
    for (const iconDesign& d : designs)
        if (d.id == id) return &d;
    return nullptr;
}

// ---------------------------------------------------------------------------
// 2. Drawing
// ---------------------------------------------------------------------------

struct rgb {
    double r, g, b;
};

// The colour of a design. Icons of one shape are the ones most easily
// confused, so within a shape the hues are spread evenly around the circle
// (each shape starting elsewhere), and neighbours on the circle alternate
// between a bright and a deep tone.
rgb designColour(const iconDesign& d) {
    int count = 0, rank = 0;
    for (const iconDesign& other : designs) {
        if (other.shape != d.shape) continue;
        if (other.id < d.id) ++rank;
        ++count;
    }
    double h = std::fmod(static_cast<double>(rank) / count + d.shape * 0.13, 1.0) * 6.0;
    bool bright = rank % 2 == 0;
    double s = bright ? 0.75 : 0.9;
    double v = bright ? 0.95 : 0.6;
    int sector = static_cast<int>(h) % 6;
    double f = h - std::floor(h);
    double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
    switch (sector) {
    case 0: return {v, t, p};
    case 1: return {q, v, p};
    case 2: return {p, v, t};
    case 3: return {p, q, v};
    case 4: return {t, p, v};
    default: return {v, p, q};
    }
}

rgb mix(rgb a, rgb b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

const rgb white = {1, 1, 1};
const rgb black = {0, 0, 0};

struct canvas {
    int size;
    double unit; // pixels per design unit
    std::vector<uint8_t> rgba;

    explicit canvas(int n) : size(n), unit(n / 16.0), rgba(static_cast<size_t>(n) * n * 4, 0) {}

    void put(int x, int y, rgb c) {
        if (x < 0 || y < 0 || x >= size || y >= size) return;
        uint8_t* p = &rgba[(static_cast<size_t>(y) * size + x) * 4];
        p[0] = static_cast<uint8_t>(std::lround(c.r * 255));
        p[1] = static_cast<uint8_t>(std::lround(c.g * 255));
        p[2] = static_cast<uint8_t>(std::lround(c.b * 255));
        p[3] = 255;
    }

    // Paints every pixel whose centre, in design units, satisfies inside.
    template <typename Inside>
    void paint(rgb c, Inside inside) {
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                if (inside((x + 0.5) / unit, (y + 0.5) / unit)) put(x, y, c);
    }
};

bool inRect(double x, double y, double x0, double y0, double x1, double y1, double inset) {
    return x >= x0 + inset && x <= x1 - inset && y >= y0 + inset && y <= y1 - inset;
}

bool inCircle(double x, double y, double cx, double cy, double r) {
    return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r;
}

// Whether (x, y) lies inside the outline of shape, shrunk by inset units.
// Painting the shape at inset 0 in a dark colour and at inset 1 in a light
// one gives a filled shape with a border of one unit.
bool inShape(iconShape shape, double x, double y, double e) {
    switch (shape) {
    case Page: // a sheet with its top right corner folded
        return inRect(x, y, 2, 0.5, 14, 15.5, e) && (x - y) <= 9.5 - e * 1.41;
    case Folder:
        return inRect(x, y, 0.5, 2.5, 7, 5.5, e) || inRect(x, y, 0.5, 4, 15.5, 14, e);
    case Book:
        return inRect(x, y, 2.5, 0.5, 13.5, 15.5, e);
    case Chip:
        return inRect(x, y, 3, 2, 13, 14, e);
    case Board:
    case Wave:
        return inRect(x, y, 0.5, 1.5, 15.5, 14.5, e);
    case Gear: {
        double dx = x - 8, dy = y - 7, r = std::sqrt(dx * dx + dy * dy);
        double a = std::atan2(dy, dx);
        bool tooth = std::cos(8 * a) > 0.2;
        return r <= (tooth ? 7.2 : 5.6) - e && r >= 2.2 + e;
    }
    case Clock:
        return inCircle(x, y, 8, 7.5, 7.3 - e);
    case Person:
        return inCircle(x, y, 8, 4.5, 3.6 - e) ||
               (y <= 15.5 - e && inCircle(x, y, 8, 16, 7.5 - e) && y >= 8.5 + e);
    }
    return false;
}

// What makes a shape more than its outline, in the accent colour.
void paintDetails(canvas& c, iconShape shape, rgb accent, rgb dark) {
    switch (shape) {
    case Page: // the fold
        c.paint(dark, [](double x, double y) { return x >= 9.5 && y <= 6 && (x - y) <= 9.5 && (x - y) >= 7.5; });
        c.paint(accent, [](double x, double y) { return inRect(x, y, 4, 3, 9, 4, 0) || inRect(x, y, 4, 5.5, 11, 6.5, 0); });
        break;
    case Folder:
        c.paint(accent, [](double x, double y) { return inRect(x, y, 1.5, 5, 14.5, 6.5, 0); });
        break;
    case Book: // spine and page edges
        c.paint(accent, [](double x, double y) { return inRect(x, y, 3.5, 1.5, 5.5, 14.5, 0); });
        c.paint(dark, [](double x, double y) { return inRect(x, y, 7, 3, 12, 4, 0); });
        break;
    case Chip: // pins on both sides and the notch
        c.paint(dark, [](double x, double y) {
            for (double py : {3.5, 6.5, 9.5, 12.5})
                if ((inRect(x, y, 0.5, py - 0.7, 3, py + 0.7, 0) || inRect(x, y, 13, py - 0.7, 15.5, py + 0.7, 0)))
                    return true;
            return false;
        });
        c.paint(accent, [](double x, double y) { return inCircle(x, y, 8, 3, 1.3); });
        break;
    case Board: // traces and pads
        c.paint(accent, [](double x, double y) {
            return inRect(x, y, 3, 4, 12, 5, 0) || inRect(x, y, 11.5, 4, 12.5, 9, 0) ||
                   inCircle(x, y, 3.5, 4.5, 1.4) || inCircle(x, y, 12, 9, 1.4);
        });
        break;
    case Wave: // a screen with a trace on it
        c.paint(dark, [](double x, double y) { return inRect(x, y, 1.5, 2.5, 14.5, 13.5, 0); });
        c.paint(accent, [](double x, double y) {
            double w = 5.5 - 2.5 * std::sin((x - 1.5) * 0.9);
            return x >= 1.5 && x <= 14.5 && std::fabs(y - w) <= 0.75;
        });
        break;
    case Gear:
        c.paint(accent, [](double x, double y) {
            double r = std::sqrt((x - 8) * (x - 8) + (y - 7) * (y - 7));
            return r >= 3.2 && r <= 4.2;
        });
        break;
    case Clock: // hands at ten past ten
        c.paint(dark, [](double x, double y) {
            return (std::fabs(x - 8) <= 0.6 && y >= 3 && y <= 7.5) ||
                   (std::fabs(y - 7.5) <= 0.6 && x >= 8 && x <= 12);
        });
        break;
    case Person:
        break;
    }
}

// The label font: 3 by 5 pixels, one row per number, left column in bit 2.
const char fontChars[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
const uint8_t fontRows[][5] = {
    {7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7}, {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1},
    {7, 4, 7, 1, 7}, {7, 4, 7, 5, 7}, {7, 1, 2, 2, 2}, {7, 5, 7, 5, 7}, {7, 5, 7, 1, 7},
    {2, 5, 7, 5, 5}, {6, 5, 6, 5, 6}, {3, 4, 4, 4, 3}, {6, 5, 5, 5, 6}, {7, 4, 6, 4, 7},
    {7, 4, 6, 4, 4}, {3, 4, 5, 5, 3}, {5, 5, 7, 5, 5}, {7, 2, 2, 2, 7}, {1, 1, 1, 5, 2},
    {5, 5, 6, 5, 5}, {4, 4, 4, 4, 7}, {5, 7, 7, 5, 5}, {6, 5, 5, 5, 5}, {2, 5, 5, 5, 2},
    {6, 5, 6, 4, 4}, {2, 5, 5, 6, 3}, {6, 5, 6, 5, 5}, {3, 4, 2, 1, 6}, {7, 2, 2, 2, 2},
    {5, 5, 5, 5, 7}, {5, 5, 5, 5, 2}, {5, 5, 7, 7, 5}, {5, 5, 2, 5, 5}, {5, 5, 2, 2, 2},
    {7, 1, 2, 4, 7},
};

const uint8_t* glyph(char ch) {
    const char* at = strchr(fontChars, ch);
    return ch && at ? fontRows[at - fontChars] : nullptr;
}

// The tag: a band in the icon's colour at the bottom, as wide as the label,
// with the label in white or black, whichever stands out.
void paintTag(canvas& c, const char* label, rgb colour) {
    int length = static_cast<int>(strlen(label));
    if (length == 0) return;
    int scale = c.size / 16;            // font pixels to image pixels
    int textWidth = (length * 4 - 1) * scale;
    int bandWidth = textWidth + 2 * scale;
    int bandHeight = 7 * scale;
    int x0 = (c.size - bandWidth) / 2, y0 = c.size - bandHeight;
    double luminance = 0.299 * colour.r + 0.587 * colour.g + 0.114 * colour.b;
    rgb ink = luminance > 0.55 ? black : white;
    for (int y = y0; y < c.size; ++y)
        for (int x = x0; x < x0 + bandWidth; ++x) c.put(x, y, colour);
    for (int i = 0; i < length; ++i) {
        const uint8_t* rows = glyph(label[i]);
        if (!rows) continue;
        for (int row = 0; row < 5; ++row)
            for (int col = 0; col < 3; ++col)
                if (rows[row] & (4 >> col))
                    for (int dy = 0; dy < scale; ++dy)
                        for (int dx = 0; dx < scale; ++dx)
                            c.put(x0 + scale + (i * 4 + col) * scale + dx, y0 + scale + row * scale + dy, ink);
    }
}

std::vector<uint8_t> draw(const iconDesign& d, int size) {
    canvas c(size);
    rgb colour = designColour(d);
    rgb outline = mix(colour, black, 0.6);
    rgb body = mix(colour, white, 0.45);
    iconShape shape = d.shape;
    c.paint(outline, [shape](double x, double y) { return inShape(shape, x, y, 0); });
    c.paint(body, [shape](double x, double y) { return inShape(shape, x, y, 1); });
    paintDetails(c, shape, colour, outline);
    paintTag(c, d.label, colour);
    return c.rgba;
}

// ---------------------------------------------------------------------------
// 3. Images
// ---------------------------------------------------------------------------

struct iconImage {
    int width;
    int height;
    std::vector<uint8_t> rgba;
};

// The images handed out and not yet freed, so that a stale or foreign handle
// is refused rather than used.
std::set<const void*>& liveImages() {
    static std::set<const void*> images;
    return images;
}

} // namespace

size_t kvIconCount() { return static_cast<size_t>(designCount); }

int kvIconId(size_t index) { return index < kvIconCount() ? designs[index].id : 0; }

HANDLE LoadImageA(HINSTANCE instance, LPCSTR name, UINT type, int cx, int cy, UINT /*flags*/) {
    if (instance != kvEngineModule() || type != IMAGE_ICON || !IS_INTRESOURCE(name)) return nullptr;
    if (cx != cy || (cx != 16 && cx != 32 && cx != 48)) return nullptr;
    const iconDesign* d = findDesign(static_cast<int>(reinterpret_cast<uintptr_t>(name)));
    if (!d) return nullptr;
    iconImage* image = new iconImage{cx, cy, draw(*d, cx)};
    liveImages().insert(image);
    return image;
}

BOOL DestroyIcon(HANDLE icon) {
    if (!icon || liveImages().erase(icon) == 0) return FALSE;
    delete static_cast<iconImage*>(icon);
    return TRUE;
}

bool kvGetIconPixels(HANDLE icon, int* width, int* height, const uint8_t** rgba) {
    if (!icon || liveImages().count(icon) == 0) return false;
    const iconImage* image = static_cast<const iconImage*>(icon);
    if (width) *width = image->width;
    if (height) *height = image->height;
    if (rgba) *rgba = image->rgba.data();
    return true;
}
