/**
 * Encoded paths: `/`, the prefix of a root, `/`, and the percent-encoded path below the root with its slashes kept.
 * `/` alone is the top, whose rows are the roots; `/file/` is the root with the prefix `/file`.
 */

export const top = '/';

/** The queue's own path; its rows are the entries. */
export const queuePath = '/playlist/';

/**
 * What contains a path; the top contains itself.
 * @param {string} path
 * @returns {string}
 */
export function parent(path) {
    const root = rootOf(path);
    if (path.length <= root.length) return top;
    return path.slice(0, Math.max(path.lastIndexOf('/'), root.length));
}

/**
 * A path and all that contain it, the top first.
 * @param {string} path
 * @returns {string[]}
 */
export function lineage(path) {
    const line = [path];
    for (let at = path; at !== top; at = parent(at)) line.unshift(parent(at));
    return line;
}

/**
 * The last segment, decoded; for a root its prefix.
 * @param {string} path
 * @returns {string}
 */
export function nameOf(path) {
    const segment = path.replace(/\/$/, '').split('/').pop() ?? '';
    return decode(segment);
}

/**
 * The address of a file's bytes, relative to the page.
 * @param {string} path
 * @returns {string}
 */
export function mediaAddress(path) {
    return `media${path}`;
}

/**
 * The address of a cover, relative to the page.
 * @param {string} path
 * @param {number} width in pixels of the picture
 * @returns {string}
 */
export function coverAddress(path, width) {
    return `cover${path}?width=${width}`;
}

/** @param {string} path */
function rootOf(path) {
    const end = path.indexOf('/', 1);
    return end < 0 ? path : path.slice(0, end + 1);
}

/** @param {string} text */
function decode(text) {
    try {
        return decodeURIComponent(text);
    } catch {
        return text;
    }
}
