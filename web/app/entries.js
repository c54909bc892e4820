import { mediaAddress, nameOf, queuePath } from './paths.js';

/**
 * @typedef {object} EntryFields
 * @property {number} id never used again
 * @property {string} source encoded path of the file
 * @property {string} artist empty without one
 * @property {string} album empty without one
 * @property {number} duration in ms, 0 as long as nobody knows it
 * @property {string} uri where its bytes are, relative to the page
 */

/** An entry of the queue. @typedef {import('./listing.js').Row & EntryFields} Entry */

/** @type {import('./listing.js').RowKind<Entry>} */
export const entryRows = {
    roles: ['path', 'title', 'type', 'mediaData', 'value'],
    toRow: ([path, title, type, mediaData, source]) => {
        const { artist, album } = mediaData?.metaData ?? {};
        const { uri, duration } = mediaData?.resources?.[0] ?? {};
        return {
            path,
            title: title ?? '',
            type: type ?? '',
            timestamp: null,
            id: Number(nameOf(path)),
            source: source ?? '',
            artist: artist ?? '',
            album: album ?? '',
            duration: duration ?? 0,
            uri: uri ?? mediaAddress(source ?? ''),
        };
    },
};

/** The path of an entry. @param {number} id */
export function entryPath(id) {
    return `${queuePath}queue/${id}`;
}
