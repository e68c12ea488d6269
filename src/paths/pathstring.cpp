// pathstring: the string algorithms (everything that does not look at the
// disk).
//
// Contents:
//   1. Helpers: separators, ASCII case, last separator, extension dot
//   2. Construction and assignment
//   3. Accessors: the range forms, and the two other forms built on them
//   4. Structure: components, drive, UNC
//   5. Canonical form: removeExtraCharacters, removeDotDirectorySpecifiers,
//      tidyUp, and the editing members
//   6. Relative and absolute forms
//   7. Comparisons
#include "paths/pathstring.h"

#include <cctype>

// ---------------------------------------------------------------------------
// 1. Helpers
// ---------------------------------------------------------------------------

static inline bool isSeparator(char c) { return c == '\\' || c == '/'; }

// ASCII lower case: what tolower does in the "C" locale, and what the
// platform's case-insensitive comparisons fold.
static inline unsigned char lowerAscii(char c) {
    unsigned char u = static_cast<unsigned char>(c);
    return (u >= 'A' && u <= 'Z') ? static_cast<unsigned char>(u + ('a' - 'A')) : u;
}

bool equalIgnoringCase(const char* a, const char* b, size_t length) {
    // From the end: paths mostly differ in their last characters.
    for (size_t i = length; i-- > 0;)
        if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
    return true;
}

// Position of the last separator, or npos.
static inline size_t lastSeparator(const std::string& s) {
    for (size_t i = s.size(); i-- > 0;)
        if (isSeparator(s[i])) return i;
    return std::string::npos;
}

// Position of the first separator at or after from, or npos.
static inline size_t nextSeparator(const std::string& s, size_t from) {
    for (size_t i = from; i < s.size(); ++i)
        if (isSeparator(s[i])) return i;
    return std::string::npos;
}

// Position of the extension's dot: the last "." with no separator after it;
// npos if there is none.
static size_t extensionDot(const std::string& s) {
    for (size_t i = s.size(); i-- > 0;) {
        if (s[i] == '.') return i;
        if (isSeparator(s[i])) break;
    }
    return std::string::npos;
}

// Offsets of component index in s as getPathComponent finds them; begin ==
// end for an empty range.
static void componentRange(const pathstring& s, int index, size_t& begin, size_t& end) {
    const char* b;
    const char* e;
    s.getPathComponent(index, b, e);
    begin = static_cast<size_t>(b - s.data());
    end = static_cast<size_t>(e - s.data());
}

// ---------------------------------------------------------------------------
// 2. Construction and assignment
// ---------------------------------------------------------------------------

pathstring::pathstring(const std::allocator<char>& allocator) : std::basic_string<char>(allocator) {}

pathstring::pathstring(const char* text) : std::basic_string<char>(text ? text : "") { tidyUp(false); }

pathstring::pathstring(const char* text, size_type length)
    : std::basic_string<char>(text ? text : "", text ? length : 0) {
    tidyUp(false);
}

pathstring::pathstring(const char* begin, const char* end)
    : std::basic_string<char>(begin && end > begin ? begin : "", begin && end > begin ? end - begin : 0) {
    tidyUp(false);
}

pathstring::pathstring(const pathstring& other, size_type position, size_type length)
    : std::basic_string<char>(other, position < other.size() ? position : other.size(), length) {
    tidyUp(false);
}

pathstring::pathstring(const pathstring& other) : std::basic_string<char>(other) {}

pathstring::pathstring(pathstring&& other) noexcept : std::basic_string<char>(std::move(other)) {}

pathstring::pathstring(const std::string& text) : std::basic_string<char>(text) {}

pathstring& pathstring::operator=(const char* text) {
    assign(text ? text : "");
    tidyUp(false);
    return *this;
}

pathstring& pathstring::operator=(const std::string& text) {
    assign(text);
    tidyUp(false);
    return *this;
}

pathstring& pathstring::operator=(const pathstring& other) {
    assign(other);
    return *this;
}

pathstring& pathstring::operator=(pathstring&& other) noexcept {
    std::basic_string<char>::operator=(std::move(other));
    return *this;
}

// ---------------------------------------------------------------------------
// 3. Accessors
// ---------------------------------------------------------------------------

// The string and by-value forms of an accessor, from its range form. The
// by-value form does not tidy (the std::string constructor).
#define PATHSTRING_OTHER_FORMS(name)                              \
    void pathstring::name(std::string& out) const {               \
        const char* b;                                            \
        const char* e;                                            \
        name(b, e);                                               \
        out.assign(b, static_cast<size_t>(e - b));                \
    }                                                             \
    pathstring pathstring::name() const {                         \
        const char* b;                                            \
        const char* e;                                            \
        name(b, e);                                               \
        return pathstring(std::string(b, static_cast<size_t>(e - b))); \
    }

void pathstring::getDrive(const char*& begin, const char*& end) const {
    begin = data();
    end = begin + (hasDriveLetter() ? 2 : 0);
}
PATHSTRING_OTHER_FORMS(getDrive)

void pathstring::getDriveNoColon(const char*& begin, const char*& end) const {
    begin = data();
    end = begin + (hasDriveLetter() ? 1 : 0);
}
PATHSTRING_OTHER_FORMS(getDriveNoColon)

void pathstring::getDirectory(const char*& begin, const char*& end) const {
    size_t from = hasDriveLetter() ? 2 : 0;
    size_t last = lastSeparator(*this);
    begin = data() + from;
    end = (last != npos && last >= from) ? data() + last + 1 : begin;
}
PATHSTRING_OTHER_FORMS(getDirectory)

void pathstring::getPath(const char*& begin, const char*& end) const {
    size_t last = lastSeparator(*this);
    begin = data();
    end = begin + (last != npos ? last + 1 : 0);
}
PATHSTRING_OTHER_FORMS(getPath)

void pathstring::getPathNoSlash(const char*& begin, const char*& end) const {
    size_t last = lastSeparator(*this);
    begin = data();
    end = begin + (last != npos ? last : 0);
}
PATHSTRING_OTHER_FORMS(getPathNoSlash)

void pathstring::getBase(const char*& begin, const char*& end) const {
    size_t last = lastSeparator(*this);
    size_t from;
    if (last != npos)
        from = last + 1;
    else
        from = (hasDriveLetter() || isUNCname()) ? 2 : 0;
    if (from > size()) from = size();
    begin = data() + from;
    end = data() + size();
}
PATHSTRING_OTHER_FORMS(getBase)

void pathstring::getRoot(const char*& begin, const char*& end) const {
    size_t to = size();
    size_t offset = (hasDriveLetter() || isUNCname()) ? 2 : 0;
    size_t last = lastSeparator(*this);
    size_t from = last != npos ? last + 1 : offset;
    if (from > to) from = to;
    if (from < to) {
        size_t dot = rfind('.');
        if (dot != npos && dot >= from) to = dot;
    }
    begin = data() + from;
    end = data() + to;
}
PATHSTRING_OTHER_FORMS(getRoot)

void pathstring::getExt(const char*& begin, const char*& end) const {
    size_t dot = extensionDot(*this);
    begin = data() + (dot != npos ? dot : size());
    end = data() + size();
}
PATHSTRING_OTHER_FORMS(getExt)

void pathstring::getExtNoDot(const char*& begin, const char*& end) const {
    getExt(begin, end);
    if (begin != end) ++begin;
}
PATHSTRING_OTHER_FORMS(getExtNoDot)

void pathstring::getNameNoExt(const char*& begin, const char*& end) const {
    size_t dot = extensionDot(*this);
    begin = data();
    end = begin + (dot != npos ? dot : size());
}
PATHSTRING_OTHER_FORMS(getNameNoExt)

void pathstring::getUNCShareName(const char*& begin, const char*& end) const {
    begin = end = data() + size();
    if (!isUNCname()) return;
    const char* b0;
    const char* e0;
    const char* b1;
    const char* e1;
    getPathComponent(0, b0, e0);
    getPathComponent(1, b1, e1);
    if (b0 == e0 || b1 == e1) return;
    begin = data();
    end = e1;
}
PATHSTRING_OTHER_FORMS(getUNCShareName)

void pathstring::getPathComponent(int index, const char*& begin, const char*& end) const {
    const size_t n = size();
    begin = end = data() + n;
    if (n == 0 || index < 0) return;
    size_t scan = 0;
    if (hasDriveLetter()) {
        if (index == 0) {
            begin = data();
            end = data() + 2;
            return;
        }
        --index;
        scan = 2;
    }
    while (scan < n && isSeparator((*this)[scan])) ++scan;
    if (scan >= n) return;
    size_t start = scan;
    for (int step = 0;; ++step) {
        size_t next = nextSeparator(*this, start);
        if (next == npos) {
            // The last component; nothing if more steps remain.
            if (step < index) return;
            begin = data() + start;
            end = data() + n;
            return;
        }
        if (step < index) {
            start = next + 1;
            continue;
        }
        begin = data() + start;
        end = data() + next;
        return;
    }
}

void pathstring::getPathComponent(int index, std::string& out) const {
    const char* b;
    const char* e;
    getPathComponent(index, b, e);
    out.assign(b, static_cast<size_t>(e - b));
}

pathstring pathstring::getPathComponent(int index) const {
    const char* b;
    const char* e;
    getPathComponent(index, b, e);
    return pathstring(std::string(b, static_cast<size_t>(e - b)));
}

#undef PATHSTRING_OTHER_FORMS

// ---------------------------------------------------------------------------
// 4. Structure
// ---------------------------------------------------------------------------

bool pathstring::hasDriveLetter() const { return size() >= 2 && (*this)[1] == ':'; }

bool pathstring::isUNCname() const {
    // A string of backslashes only has no first other character: not UNC.
    size_t first = find_first_not_of('\\');
    return first != npos && first >= 2;
}

int pathstring::getNumberOfComponents() const {
    int count = 0;
    size_t i = 0;
    if (hasDriveLetter()) {
        count = 1;
        i = 2;
    }
    const size_t n = size();
    bool inPiece = false;
    for (; i < n; ++i) {
        if (isSeparator((*this)[i])) {
            inPiece = false;
        } else if (!inPiece) {
            inPiece = true;
            ++count;
        }
    }
    return count;
}

// ---------------------------------------------------------------------------
// 5. Canonical form and editing
// ---------------------------------------------------------------------------

// What removeExtraCharacters does with a byte: most bytes of a path are
// plain and take one table look-up.
enum CharacterClass : unsigned char { Plain, WhiteSpace, Separator, Colon, Quote, HighByte };

// Built at compile time, so that a pathstring made by a static constructor
// elsewhere finds it ready. White space is the ASCII set of isspace, which
// is the same in every locale; bytes above 127 ask isspace at run time.
struct CharacterClasses {
    unsigned char of[256] = {};
    constexpr CharacterClasses() {
        for (int c = 0; c < 256; ++c) of[c] = c >= 0x80 ? HighByte : Plain;
        of[static_cast<unsigned char>(' ')] = WhiteSpace;
        for (int c = '\t'; c <= '\r'; ++c) of[c] = WhiteSpace;
        of[static_cast<unsigned char>('\\')] = of[static_cast<unsigned char>('/')] = Separator;
        of[static_cast<unsigned char>(':')] = Colon;
        of[static_cast<unsigned char>('"')] = Quote;
    }
};
static constexpr CharacterClasses kClasses{};

void pathstring::removeExtraCharacters() {
    char* s = &(*this)[0];
    const size_t n = size();
    size_t out = 0;        // output position
    char previous = 0;     // last character written
    char lastKept = 0;     // last character written that is not a blank
    size_t keptEnd = 0;    // output position just after lastKept
    for (size_t in = 0; in < n; ++in) {
        char c = s[in];
        unsigned char kind = kClasses.of[static_cast<unsigned char>(c)];
        if (kind == HighByte) kind = isspace(static_cast<unsigned char>(c)) ? WhiteSpace : Plain;
        switch (kind) {
        case WhiteSpace:
            // No blanks at the start, after a separator or after a colon.
            if (previous == '\\' || previous == ':' || previous == 0) continue;
            s[out++] = ' ';
            previous = ' ';
            break;
        case Separator:
            if (previous == ' ') {  // drop the blanks before a separator
                previous = lastKept;
                out = keptEnd;
            }
            // One separator, except a leading pair (UNC).
            if (previous == '\\' && out != 1) continue;
            s[out++] = '\\';
            previous = lastKept = '\\';
            keptEnd = out;
            break;
        case Colon:
            if (previous == ' ') out = keptEnd;
            s[out++] = ':';
            previous = lastKept = ':';
            keptEnd = out;
            break;
        case Quote:
            continue;
        default:
            s[out++] = c;
            previous = lastKept = c;
            keptEnd = out;
            break;
        }
    }
    resize(out);
}

// True when some component may consist of dots only: a "." at the start,
// after a separator or after the drive. Saves the walk for most paths.
static bool mayHaveDotComponent(const std::string& s) {
    const size_t n = s.size();
    for (size_t i = 0; i < n; ++i) {
        if (s[i] != '.') continue;
        if (i == 0 || isSeparator(s[i - 1]) || (i == 2 && s[1] == ':')) return true;
    }
    return false;
}

void pathstring::removeDotDirectorySpecifiers() {
    if (!mayHaveDotComponent(*this)) return;
    int count = getNumberOfComponents();
    int floor = hasDriveLetter() ? 1 : (isUNCname() ? 2 : 0);
    int i = floor;
    // The range of component i. While the string is unchanged the next
    // component starts just after the separator that ends this one, as
    // getPathComponent finds it; after a change, or after the drive, it is
    // looked up again.
    size_t b = 0, e = 0;
    bool known = false;
    auto stepToNext = [&]() {
        if (known && !(i == 0 && hasDriveLetter()) && e < size() && isSeparator((*this)[e])) {
            b = e + 1;
            e = nextSeparator(*this, b);
            if (e == npos) e = size();
        } else {
            known = false;
        }
        ++i;
    };
    while (i < count) {
        if (!known) {
            componentRange(*this, i, b, e);
            known = true;
        }
        bool dotsOnly = e > b;
        for (size_t k = b; k < e && dotsOnly; ++k) dotsOnly = (*this)[k] == '.';
        if (!dotsOnly) {
            stepToNext();
            continue;
        }
        size_t length = e - b;
        if (length >= 3) {
            // n dots are n-1 levels up: "..." becomes ..\.. and "...." ..\...
            // (whose second part is expanded again when the walk reaches it).
            insert(b, "..");
            (*this)[b + 2] = '\\';
            ++count;
            length = 2;
            e = b + 2;
        }
        if (static_cast<int>(length) > i - floor + 1) {
            // Nothing before it to cancel: it stays, and so does all before.
            floor = i + 1;
            stepToNext();
            continue;
        }
        // Remove this component and length-1 before it, with one separator:
        // the one after the range if there is one, else the one before it.
        int first = i - static_cast<int>(length) + 1;
        size_t rb, re;
        componentRange(*this, first, rb, re);
        if (e < size() && isSeparator((*this)[e]))
            ++e;
        else if (rb > 0 && isSeparator((*this)[rb - 1]))
            --rb;
        erase(rb, e - rb);
        count -= static_cast<int>(length);
        i = first;
        known = false;
    }
}

void pathstring::tidyUp(bool makeAbsolute) {
    removeExtraCharacters();
    removeDotDirectorySpecifiers();
    if (makeAbsolute) {
        char buffer[MAX_PATH];
        DWORD n = GetFullPathNameA(c_str(), sizeof buffer, buffer, nullptr);
        if (n > 0 && n < sizeof buffer) {
            assign(buffer, n);
            removeExtraCharacters();
        }
    }
}

void pathstring::appendComponent(const char* text) {
    push_back('\\');
    if (text) append(text);
    removeExtraCharacters();
}

void pathstring::appendComponent(const std::string& text) {
    push_back('\\');
    append(text);
    removeExtraCharacters();
}

void pathstring::forceEndInSlash() {
    push_back('\\');
    removeExtraCharacters();
}

void pathstring::changeExt(const char* extension) { changeExt(pathstring(extension)); }

void pathstring::changeExt(const pathstring& extension) {
    std::string wanted;
    size_t argumentDot = extensionDot(extension);
    if (argumentDot != npos && argumentDot + 1 < extension.size())
        wanted.assign(extension, argumentDot + 1, npos);
    else
        wanted = extension;
    size_t dot = extensionDot(*this);
    if (wanted.empty()) {
        if (dot != npos) erase(dot);
    } else if (dot == npos) {
        push_back('.');
        append(wanted);
    } else {
        replace(dot + 1, npos, wanted);
    }
}

void pathstring::changePath(const char* path) { changePath(pathstring(path)); }

void pathstring::changePath(const pathstring& path) {
    std::string base;
    getBase(base);
    std::string directory;
    path.getPath(directory);
    if (directory.empty()) {
        assign(base);
        return;
    }
    assign(directory);
    push_back('\\');
    append(base);
    removeExtraCharacters();
}

void pathstring::forceDotIfNoExt() {
    if (empty() || extensionDot(*this) != npos) return;
    if (back() != '\\') push_back('.');
}

// ---------------------------------------------------------------------------
// 6. Relative and absolute forms
// ---------------------------------------------------------------------------

void pathstring::assignRelativeTo(const char* base) { assignRelativeTo(pathstring(base)); }

void pathstring::assignRelativeTo(const pathstring& base) {
    removeExtraCharacters();
    removeDotDirectorySpecifiers();
    if (isUNCname()) return;
    const bool drive = hasDriveLetter();
    if (drive && size() > 2 && isSeparator((*this)[2])) return;  // C:\ absolute
    if (drive) {
        // Relative to a drive: C:a joins only a base on that drive or none.
        if (base.isUNCname()) return;
        if (base.hasDriveLetter() && lowerAscii(base[0]) != lowerAscii((*this)[0])) return;
    }
    std::string result;
    size_t restFrom = 0;
    size_t baseLength = base.size();
    if (drive) {
        restFrom = 2;
        if (!base.hasDriveLetter()) result.assign(*this, 0, 2);
    } else if (!empty() && isSeparator((*this)[0])) {
        // Relative to the root of base: only its drive is used.
        if (!base.hasDriveLetter()) return;
        baseLength = 2;
    }
    if (baseLength == 0) return;
    result.append(base, 0, baseLength);
    result.push_back('\\');
    result.append(*this, restFrom, npos);
    assign(result);
    tidyUp(false);
}

void pathstring::assignRelativeTo(const char* text, const char* base) {
    pathstring tidiedBase(base);  // before text replaces *this, which base may point into
    *this = text;
    assignRelativeTo(tidiedBase);
}

void pathstring::assignRelativeTo(const char* text, const pathstring& base) {
    pathstring baseCopy(base);  // base may be *this
    *this = text;
    assignRelativeTo(baseCopy);
}

void pathstring::assignRelativeTo(const std::string& text, const char* base) {
    pathstring tidiedBase(base);
    *this = text;
    assignRelativeTo(tidiedBase);
}

void pathstring::assignRelativeTo(const std::string& text, const pathstring& base) {
    pathstring baseCopy(base);
    *this = text;
    assignRelativeTo(baseCopy);
}

int pathstring::makeRelativeTo(const char* base) { return makeRelativeTo(pathstring(base)); }

int pathstring::makeRelativeTo(const pathstring& base) {
    const int baseCount = base.getNumberOfComponents();
    int common = getNumberOfComponents();
    if (baseCount < common) common = baseCount;
    size_t shared = 0;
    while (common > 0) {
        size_t b, e, baseBegin, baseEnd;
        componentRange(*this, common - 1, b, e);
        componentRange(base, common - 1, baseBegin, baseEnd);
        if (e == baseEnd && equalIgnoringCase(data(), base.data(), e)) {
            shared = e;
            break;
        }
        --common;
    }
    if (common == 0) return 0;
    // One dot is this directory, two one level up, and so on; tidying turns
    // the run of dots into ..\ steps.
    std::string prefix(static_cast<size_t>(baseCount - common + 1), '.');
    prefix.push_back('\\');
    replace(0, shared, prefix);
    tidyUp(false);
    return common;
}

// ---------------------------------------------------------------------------
// 7. Comparisons
// ---------------------------------------------------------------------------

int pathstring::compareExactNames(const char* other) const { return compareExactNames(pathstring(other)); }

int pathstring::compareExactNames(const pathstring& other) const { return lstrcmpiA(c_str(), other.c_str()); }

bool pathstring::compareEqualQuickly(const pathstring& other) const {
    return size() == other.size() && equalIgnoringCase(data(), other.data(), size());
}

bool pathstring::isInDirectory(const char* directory) const { return isInDirectory(pathstring(directory)); }

bool pathstring::isInDirectory(const pathstring& directory) const {
    const int directoryCount = directory.getNumberOfComponents();
    if (directoryCount > getNumberOfComponents()) return false;
    const char* b;
    const char* mine;
    const char* theirs;
    getPathComponent(directoryCount - 1, b, mine);
    directory.getPathComponent(directoryCount - 1, b, theirs);
    pathstring myPrefix(data(), mine);
    pathstring theirPrefix(directory.data(), theirs);
    return myPrefix.compareEqualQuickly(theirPrefix);
}
