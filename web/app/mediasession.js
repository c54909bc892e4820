/** Media keys, the lock screen and the system's own player: they show and command what plays on this page. */

import { coverAddress } from './paths.js';

/** @typedef {import('./output.js').Output} Output */
/** @typedef {import('./player.js').Player} Player */

const coverWidths = [100, 400, 800];
const states = /** @type {const} */ ({ playing: 'playing', paused: 'paused', stopped: 'none' });

/** @param {Player} player @param {Output} output */
export function connectMediaSession(player, output) {
    if (!('mediaSession' in navigator)) return;
    handleActions(player, output);
    player.addEventListener('player', () => describe(player, output));
    output.addEventListener('progress', () => setPosition(output));
}

/** @param {Player} player @param {Output} output */
function handleActions(player, output) {
    const handlers = /** @type {[MediaSessionAction, MediaSessionActionHandler][]} */ ([
        ['play', () => player.play()],
        ['pause', () => player.pause()],
        ['stop', () => player.stop()],
        ['previoustrack', () => player.previous(output.position)],
        ['nexttrack', () => player.next()],
        ['seekto', ({ seekTime }) => player.seek((seekTime ?? 0) * 1000)],
        ['seekforward', ({ seekOffset }) => player.seek(output.position + (seekOffset ?? 10) * 1000)],
        ['seekbackward', ({ seekOffset }) => player.seek(output.position - (seekOffset ?? 10) * 1000)],
    ]);
    for (const [action, handler] of handlers) {
        try {
            navigator.mediaSession.setActionHandler(action, handler);
        } catch {
            // The browser does not know this action.
        }
    }
}

/** @param {Player} player @param {Output} output */
function describe({ current, state }, output) {
    const { mediaSession } = navigator;
    const shows = current !== null && output.active;
    mediaSession.playbackState = shows ? states[state] : 'none';
    if (!shows) {
        mediaSession.metadata = null;
        return;
    }
    const { title, artist, album } = current;
    const shown = mediaSession.metadata;
    const artwork = coverWidths.map((width) => ({ src: coverAddress(current.source, width), sizes: `${width}x${width}` }));
    const metadata = new MediaMetadata({ title, artist, album, artwork });
    // The system draws anew for each one that is set.
    if (JSON.stringify(plain(shown)) !== JSON.stringify(plain(metadata))) mediaSession.metadata = metadata;
}

/** @param {MediaMetadata | null} metadata */
function plain(metadata) {
    return metadata && [metadata.title, metadata.artist, metadata.album, metadata.artwork[0]?.src];
}

/** @param {Output} output */
function setPosition({ position, duration }) {
    if (!(duration > 0)) return;
    navigator.mediaSession.setPositionState({ duration: duration / 1000, position: Math.min(position, duration) / 1000, playbackRate: 1 });
}
