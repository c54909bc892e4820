# Writes the C++ source SOURCE that defines findPageAsset() for the FILES in FOLDER. The same files give the same source.

set(type_css "text/css; charset=utf-8")
set(type_html "text/html; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_json "application/json")
set(type_png "image/png")
set(type_svg "image/svg+xml")
set(type_webmanifest "application/manifest+json")

# Appends an array with the content of the file to `arrays`; sets `size` to its length.
function(append_array name file)
    file(READ "${file}" bytes HEX)
    file(SIZE "${file}" length)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    # C++ has no empty arrays.
    string(APPEND arrays "const unsigned char ${name}[] = {${bytes}0};\n")
    set(arrays "${arrays}" PARENT_SCOPE)
    set(size ${length} PARENT_SCOPE)
endfunction()

set(arrays "")
set(entries "")
set(index 0)
foreach(name IN LISTS FILES)
    set(file "${FOLDER}/${name}")
    get_filename_component(ending "${name}" LAST_EXT)
    string(REPLACE "." "" ending "${ending}")
    if(NOT type_${ending})
        message(FATAL_ERROR "${file}: the page has no media type for files of this name")
    endif()

    # Browsers need no comments, which are a third of the scripts.
    if(ending STREQUAL js)
        execute_process(COMMAND sed "/^ *\\/\\*\\*/{:a;/\\*\\//!{N;ba};s|^ */\\*\\*.*\\*/||;};/^ *$/d" "${file}"
            OUTPUT_FILE "${SOURCE}.js" COMMAND_ERROR_IS_FATAL ANY)
        set(file "${SOURCE}.js")
    endif()

    execute_process(COMMAND gzip -9nc "${file}" OUTPUT_FILE "${SOURCE}.gz" COMMAND_ERROR_IS_FATAL ANY)
    append_array(plain${index} "${file}")
    set(plain_size ${size})
    append_array(gzip${index} "${SOURCE}.gz")
    if(NOT size LESS plain_size)
        set(size 0)
    endif()

    file(SHA256 "${file}" digest)
    string(SUBSTRING "${digest}" 0 32 tag)
    string(APPEND entries "        {\"${name}\",\n         {\"${type_${ending}}\", \"\\\"${tag}\\\"\", \"\\\"${tag}-gzip\\\"\",\n"
        "          bytes(plain${index}, ${plain_size}), bytes(gzip${index}, ${size})}},\n")
    math(EXPR index "${index} + 1")
endforeach()
file(REMOVE "${SOURCE}.gz" "${SOURCE}.js")

file(WRITE "${SOURCE}" "// Made by CompilePage.cmake.

#include \"http/pageassets.h\"

#include <QHash>

namespace {

${arrays}
QByteArray bytes(const unsigned char* data, int size)
{
    return size == 0 ? QByteArray() : QByteArray::fromRawData(reinterpret_cast<const char*>(data), size);
}

} // namespace

const PageAsset* findPageAsset(const QByteArray& name)
{
    static const QHash<QByteArray, PageAsset> assets = {
${entries}    };
    const auto found = assets.constFind(name);
    return found == assets.cend() ? nullptr : &*found;
}
")
