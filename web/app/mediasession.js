/** Media keys, the lock screen and the system's own player. */

import { coverAddress } from './paths.js';

/** @typedef {import('./queue.js').Queue} Queue */
/** @typedef {import('./player.js').Player} Player */

const coverWidths = [100, 400, 800];
const states = /** @type {const} */ ({ playing: 'playing', paused: 'paused', stopped: 'none' });

/** @param {Queue} queue @param {Player} player */
export function connectMediaSession(queue, player) {
    if (!('mediaSession' in navigator)) return;
    handleActions(queue, player);
    for (const type of ['player', 'tags']) queue.addEventListener(type, () => describe(queue));
    player.addEventListener('progress', () => setPosition(player));
}

/** @param {Queue} queue @param {Player} player */
function handleActions(queue, player) {
    const handlers = /** @type {[MediaSessionAction, MediaSessionActionHandler][]} */ ([
        ['play', () => queue.play()],
        ['pause', () => queue.pause()],
        ['stop', () => queue.stop()],
        ['previoustrack', () => player.previous()],
        ['nexttrack', () => queue.next()],
        ['seekto', ({ seekTime }) => player.seek((seekTime ?? 0) * 1000)],
        ['seekforward', ({ seekOffset }) => player.seek(player.position + (seekOffset ?? 10) * 1000)],
        ['seekbackward', ({ seekOffset }) => player.seek(player.position - (seekOffset ?? 10) * 1000)],
    ]);
    for (const [action, handler] of handlers) {
        try {
            navigator.mediaSession.setActionHandler(action, handler);
        } catch {
            // The browser does not know this action.
        }
    }
}

/** @param {Queue} queue */
function describe({ current, state }) {
    const { mediaSession } = navigator;
    mediaSession.playbackState = current ? states[state] : 'none';
    if (!current) {
        mediaSession.metadata = null;
        return;
    }
    const { title, artist, album } = current;
    const shown = mediaSession.metadata;
    const artwork = coverWidths.map((width) => ({ src: coverAddress(current.path, width), sizes: `${width}x${width}` }));
    const metadata = new MediaMetadata({ title, artist, album, artwork });
    // The system draws anew for each one that is set.
    if (JSON.stringify(plain(shown)) !== JSON.stringify(plain(metadata))) mediaSession.metadata = metadata;
}

/** @param {MediaMetadata | null} metadata */
function plain(metadata) {
    return metadata && [metadata.title, metadata.artist, metadata.album, metadata.artwork[0]?.src];
}

/** @param {Player} player */
function setPosition({ position, duration }) {
    if (!(duration > 0)) return;
    navigator.mediaSession.setPositionState({ duration: duration / 1000, position: Math.min(position, duration) / 1000, playbackRate: 1 });
}
