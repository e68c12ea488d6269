// pathstring: the engine's notion of a file name. A std::string that knows
// the structure of a Windows-style path.
//
// Paths reach the engine from users, INI files and design texts with quotes,
// blanks, forward slashes, doubled separators and dot directories. tidyUp
// turns such a text into the one canonical form that the rest of the engine
// compares, cuts and joins. Once tidied a path has backslashes only; the
// accessors still take "/" as a separator, since untidied text reaches them.
//
// Vocabulary, for C:\dir\sub\name.ext:
//
//   getDrive C:             getDriveNoColon C
//   getDirectory \dir\sub\    getPath C:\dir\sub\    getPathNoSlash C:\dir\sub
//   getBase name.ext     getRoot name          getExt .ext   getExtNoDot ext
//   getNameNoExt C:\dir\sub\name
//   getPathComponent 0..3: C:  dir  sub  name.ext
//
// A path has a drive letter when it is at least 2 characters long and its
// second character is ":" (the first is not looked at: 1:y has one). It is
// a UNC name when its first character that is not a backslash stands at
// index 2 or later (\\server\share); forward slashes do not count there.
//
// Contents:
//   1. Construction and assignment (which texts are tidied, which are not)
//   2. Accessors, each in three forms: a range into the string, into a
//      std::string, and by value
//   3. Structure: components, drive, UNC
//   4. Canonical form and editing: tidyUp, appendComponent, changeExt, ...
//   5. Relative and absolute forms: assignRelativeTo, makeRelativeTo
//   6. Comparisons: compareExactNames, compareEqualQuickly, isInDirectory
//   7. File-system members (through the platform layer): getLFN, getSFN,
//      existence, createDirectory, size, last write time, read-only
//
// The string algorithms are in pathstring.cpp, the file-system members in
// pathstring_files.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kv_export.h"
#include "platform/platform.h"

class KVENG_API pathstring : public std::basic_string<char> {
public:
    // -----------------------------------------------------------------------
    // 1. Construction and assignment
    // -----------------------------------------------------------------------
    //
    // Texts given as C strings (whole, by length, or as a range), a part of
    // another pathstring, and assignments of a C string or a std::string are
    // tidied (tidyUp(false)). A copy, a std::string given to the constructor
    // and the copy assignment keep the text as it is. A null C string is the
    // empty path; a position past the end of other gives the empty path.

    pathstring() {}
    explicit pathstring(const std::allocator<char>& allocator);
    pathstring(const char* text);
    pathstring(const char* text, size_type length);
    pathstring(const char* begin, const char* end);
    pathstring(const pathstring& other, size_type position, size_type length = npos);
    pathstring(const pathstring& other);
    pathstring(pathstring&& other) noexcept;
    pathstring(const std::string& text);

    pathstring& operator=(const char* text);
    pathstring& operator=(const std::string& text);
    pathstring& operator=(const pathstring& other);
    pathstring& operator=(pathstring&& other) noexcept;

    // Makes the string empty.
    void clear() { std::basic_string<char>::clear(); }

    // -----------------------------------------------------------------------
    // 2. Accessors
    // -----------------------------------------------------------------------
    //
    // Each accessor comes in three forms:
    //   (const char*& begin, const char*& end) sets the two pointers to a
    //       range of this string; no copy; they die with the next change;
    //   (std::string& out) assigns that range to out (out may be *this);
    //   () returns the range as a new pathstring, not tidied.
    // All ranges are computed on the string as it stands.

    // The drive, "C:"; empty at the start without a drive letter.
    void getDrive(const char*& begin, const char*& end) const;
    void getDrive(std::string& out) const;
    pathstring getDrive() const;

    // The drive letter alone, "C"; empty at the start without one.
    void getDriveNoColon(const char*& begin, const char*& end) const;
    void getDriveNoColon(std::string& out) const;
    pathstring getDriveNoColon() const;

    // After the drive, through the last separator: \dir\sub\. Empty (at the
    // end of the drive) when no separator follows the drive.
    void getDirectory(const char*& begin, const char*& end) const;
    void getDirectory(std::string& out) const;
    pathstring getDirectory() const;

    // From the start through the last separator: C:\dir\sub\. Empty at the
    // start without a separator.
    void getPath(const char*& begin, const char*& end) const;
    void getPath(std::string& out) const;
    pathstring getPath() const;

    // getPath without its last separator: C:\x gives C:, \x gives "".
    void getPathNoSlash(const char*& begin, const char*& end) const;
    void getPathNoSlash(std::string& out) const;
    pathstring getPathNoSlash() const;

    // After the last separator to the end: name.ext. Without a separator,
    // from index 2 with a drive letter (C:name gives name), else the whole.
    void getBase(const char*& begin, const char*& end) const;
    void getBase(std::string& out) const;
    pathstring getBase() const;

    // The stem of the file name: name. .cfg has an empty root; a.b\c has
    // the root c.
    void getRoot(const char*& begin, const char*& end) const;
    void getRoot(std::string& out) const;
    pathstring getRoot() const;

    // From the last "." to the end, dot included, if no separator follows
    // that dot: .ext; else empty at the end. name. has the extension ".".
    void getExt(const char*& begin, const char*& end) const;
    void getExt(std::string& out) const;
    pathstring getExt() const;

    // getExt without its dot: ext.
    void getExtNoDot(const char*& begin, const char*& end) const;
    void getExtNoDot(std::string& out) const;
    pathstring getExtNoDot() const;

    // Everything before the extension's dot: C:\dir\sub\name.
    void getNameNoExt(const char*& begin, const char*& end) const;
    void getNameNoExt(std::string& out) const;
    pathstring getNameNoExt() const;

    // \\server\share of a UNC name whose first two components are not
    // empty; else empty at the end.
    void getUNCShareName(const char*& begin, const char*& end) const;
    void getUNCShareName(std::string& out) const;
    pathstring getUNCShareName() const;

    // Component index: the drive is component 0 when there is one; leading
    // separators are skipped, doubled ones later are not (they give an empty
    // component). A negative index, or one past the last component, gives
    // an empty range at the end of the string.
    void getPathComponent(int index, const char*& begin, const char*& end) const;
    void getPathComponent(int index, std::string& out) const;
    pathstring getPathComponent(int index) const;

    // -----------------------------------------------------------------------
    // 3. Structure
    // -----------------------------------------------------------------------

    // 1 for a drive letter, plus the non-empty pieces between separators
    // after it: C:\a\b has 3, C:\ 1, a\b\ 2, \\s\x\y 3, "" and \ none.
    int getNumberOfComponents() const;
    bool hasDriveLetter() const;
    bool isUNCname() const;

    // -----------------------------------------------------------------------
    // 4. Canonical form and editing
    // -----------------------------------------------------------------------

    // The canonical form: quotes removed, blanks at the start and around
    // separators removed (blanks at the end stay), tabs as blanks, "/" as
    // "\", separators collapsed except a leading pair, "." removed and ".."
    // cancelled against the component before it (leading ".." stay; a run
    // of n dots is n-1 levels up). With makeAbsolute the result is also made
    // absolute against the current directory (GetFullPathNameA, 260 bytes);
    // if that fails the path stays tidied but relative.
    void tidyUp(bool makeAbsolute);

    // Adds a separator and text, then collapses separators and blanks
    // (removeExtraCharacters; dot directories are not touched). Appending to
    // the empty string gives \text. Neither form tidies text first.
    void appendComponent(const char* text);
    void appendComponent(const std::string& text);

    // Ends the path in exactly one backslash.
    void forceEndInSlash();

    // Replaces the extension. The new one is the argument's extension
    // without its dot if it has at least one character after the dot, else
    // the whole argument: sch, .sch and x.sch give the same. An empty one
    // removes the extension, dot included.
    void changeExt(const char* extension);
    void changeExt(const pathstring& extension);

    // Puts this path's base into the directory of path (its getPath); with
    // none, the result is the base alone.
    void changePath(const char* path);
    void changePath(const pathstring& path);

    // Appends "." unless the path is empty, already has an extension, or
    // ends in a backslash.
    void forceDotIfNoExt();

    // -----------------------------------------------------------------------
    // 5. Relative and absolute forms
    // -----------------------------------------------------------------------

    // Makes this path absolute by base, a directory with or without a
    // trailing backslash. A UNC name and a path with drive and root stay as
    // they are; a drive-relative path (C:a) joins a base on the same drive
    // or a base without drive; a rooted path (\a) takes only the drive of
    // base, and stays if base has none. The forms with text first assign
    // text (tidied), then work as the one-argument form.
    void assignRelativeTo(const char* base);
    void assignRelativeTo(const pathstring& base);
    void assignRelativeTo(const char* text, const char* base);
    void assignRelativeTo(const char* text, const pathstring& base);
    void assignRelativeTo(const std::string& text, const char* base);
    void assignRelativeTo(const std::string& text, const pathstring& base);

    // Makes this absolute path relative to base (a directory), with one
    // ..\ step for each level of base below the shared part. Returns the number of
    // leading components the two share; 0 leaves the path unchanged (other
    // drive). makeRelativeTo(C:\w\x\) of C:\w\y\f.txt gives ..\y\f.txt, 2.
    int makeRelativeTo(const char* base);
    int makeRelativeTo(const pathstring& base);

    // -----------------------------------------------------------------------
    // 6. Comparisons (none looks at the disk; "/" and "\" differ, so both
    //    sides should be tidied)
    // -----------------------------------------------------------------------

    // Ordering without regard to case (lstrcmpiA): <0, 0, >0.
    int compareExactNames(const char* other) const;
    int compareExactNames(const pathstring& other) const;
    // Equal but for ASCII case. Compares from the end, where paths differ.
    bool compareEqualQuickly(const pathstring& other) const;
    // True when directory's components are the leading components of this
    // path, without regard to case; a directory is in itself.
    bool isInDirectory(const char* directory) const;
    bool isInDirectory(const pathstring& directory) const;

    // -----------------------------------------------------------------------
    // 7. File-system members
    // -----------------------------------------------------------------------

    // The path as the file system spells it, component by component; out:
    // result (may be *this). Returns the number of trailing components that
    // do not exist, which are kept as given. A relative path comes back with
    // .\ in front; a trailing backslash is lost; ".." steps are kept as
    // they are (they must lead somewhere). The empty path returns 0
    // and leaves result untouched. Depends on the current directory for a
    // relative path.
    int getLFN(std::string& result) const;
    // The short-name form (the host has none: the path itself where it
    // exists); out: result. Returns the number of trailing components that
    // were not found, 0 if the whole path was.
    int getSFN(std::string& result) const;

    bool exists() const;
    bool existsDirectory() const;
    bool existsFile() const;
    // Creates every missing directory level after component 0 (a drive, or
    // the first directory of a relative path, must exist). False if a level
    // is a file or cannot be created; levels made before a failure stay.
    bool createDirectory() const;

    // Size of the file, 0 if it is not there. The high half counts
    // 4294967295 (one short of 2^32), as the item sizes of the workspace do.
    int64_t getFileSize() const;
    // Out: lastWrite; zeroed and false if the path is not there.
    bool getFileTime_LastWrite(FILETIME& lastWrite) const;
    // Sets the last write time of an existing file; false on failure.
    bool setFileTime_LastWrite(const FILETIME& lastWrite) const;
    // The read-only attribute; false for a path that is not there.
    bool isReadOnly() const;
    // Sets or clears the read-only attribute, keeping the others. False if
    // the path is not there or the change fails.
    bool setReadOnly(bool state) const;

private:
    // Collapses separators and blanks, drops quotes, "/" to "\" (one pass).
    void removeExtraCharacters();
    // Removes "." and cancels ".." components; expands runs of 3+ dots.
    void removeDotDirectorySpecifiers();
};

// Whether the length bytes at a and b are equal but for ASCII case: the
// comparison of compareEqualQuickly, for texts that are not pathstrings.
bool equalIgnoringCase(const char* a, const char* b, size_t length);
