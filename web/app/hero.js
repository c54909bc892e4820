import { element, setText } from './dom.js';
import { icon } from './icons.js';
import { spokenDuration, text } from './language.js';
import { coverAddress, top } from './paths.js';

/** @typedef {import('./listing.js').Row} Row */
/** @typedef {import('./tags.js').Tags} Tags */

const coverWidth = 400;

/** The head of a folder: cover, name, what is in it, and the actions for all of it. */
export class Hero {
    #cover = element('div', { class: 'cover' });
    #title = element('h2', { dir: 'auto' });
    #sub = element('p', { class: 'sub' });
    #actions = element('div', { class: 'actions' });

    element = element('section', { class: 'hero' }, this.#cover, element('div', {}, this.#title, this.#sub, this.#actions));

    /** @param {{ play: () => void, add: () => void }} commands */
    constructor({ play, add }) {
        const playButton = element('button', { type: 'button', class: 'primary' }, text('play'));
        const addButton = element('button', { type: 'button', class: 'second' }, text('addToQueue'));
        playButton.addEventListener('click', play);
        addButton.addEventListener('click', add);
        this.#actions.append(playButton, addButton);
    }

    /**
     * @param {string} path
     * @param {string} name
     */
    show(path, name) {
        setText(this.#title, name);
        setText(this.#sub, '');
        this.usable = false;
        this.#actions.hidden = path === top;
        this.#cover.replaceChildren(icon('folder'));
        if (path !== top) this.#loadCover(path);
    }

    /** Whether there is something for the actions. @param {boolean} usable */
    set usable(usable) {
        for (const button of this.#actions.querySelectorAll('button')) button.disabled = !usable;
    }

    /**
     * Says what is in the folder. Only of a short one all rows and their tags are known.
     * @param {number} total
     * @param {Row[]} rows the ones known
     * @param {(row: Row) => Tags | undefined} tagsOf
     */
    summarise(total, rows, tagsOf) {
        this.usable = total > 0;
        const parts = rows.length < total ? [text('rowsShown', { count: total })] : summary(rows, tagsOf);
        setText(this.#sub, parts.join(' · '));
    }

    /** @param {string} path */
    #loadCover(path) {
        const picture = element('img', { src: coverAddress(path, coverWidth), alt: '', decoding: 'async' });
        const placeholder = this.#cover.firstChild;
        picture.addEventListener('load', () => {
            if (placeholder?.parentNode === this.#cover) this.#cover.replaceChildren(picture);
        });
    }
}

/**
 * @param {Row[]} rows
 * @param {(row: Row) => Tags | undefined} tagsOf
 */
function summary(rows, tagsOf) {
    const folders = rows.filter((row) => row.type === 'container').length;
    const tracks = rows.filter((row) => row.type === 'audio' || row.type === 'video');
    const counts = [];
    if (folders > 0) counts.push(text('foldersCount', { count: folders }));
    if (tracks.length > 0) counts.push(text('tracksCount', { count: tracks.length }));
    const tags = tracks.map(tagsOf);
    const parts = counts.length > 0 ? [counts.join(', ')] : [];
    if (tags.length === 0 || tags.some((tag) => !tag)) return parts;
    const artists = new Set(tags.map((tag) => tag?.artist));
    const [artist] = artists;
    if (artists.size === 1 && artist) parts.unshift(artist);
    const duration = tags.reduce((sum, tag) => sum + (tag?.duration ?? 0), 0);
    if (duration > 0) parts.push(spokenDuration(duration));
    return parts;
}
