import { element, setAttribute, setText } from './dom.js';
import { icon } from './icons.js';
import { clock, isolated, text } from './language.js';

/** @typedef {import('./listing.js').Row} Row */
/** @typedef {import('./tags.js').Tags} Tags */

/**
 * @typedef {object} RowState
 * @property {Row | undefined} row undefined as long as it has not arrived
 * @property {Tags | undefined} tags
 * @property {boolean} selected
 * @property {boolean} focused
 * @property {boolean} playing
 * @property {boolean} fresh
 */

const types = new Map(
    /** @type {[string, { icon: string, name: import('./language.js').Key }][]} */ ([
        ['container', { icon: 'folder', name: 'folder' }],
        ['video', { icon: 'video', name: 'video' }],
        ['playlist', { icon: 'list', name: 'playlistFile' }],
    ]),
);

/** One row on the screen; it shows one entry after the other as the list is scrolled. */
export class RowView {
    #lead = element('div', { class: 'lead', role: 'gridcell' });
    #title = element('span', { class: 'title', dir: 'auto' });
    #artist = element('small', { dir: 'auto' });
    #name = element('div', { class: 'name', role: 'gridcell' }, this.#title, this.#artist);
    #time = element('div', { class: 'time', role: 'gridcell' });
    #more = element('button', { type: 'button', class: 'more', tabindex: -1 });
    #drawnLead = '';

    element = element(
        'div',
        { class: 'row', role: 'row' },
        this.#lead,
        this.#name,
        this.#time,
        element('div', { role: 'gridcell' }, this.#more),
    );
    index = -1;

    constructor() {
        this.#more.append(icon('more'));
    }

    /**
     * @param {number} index
     * @param {number} height of a row in pixels
     */
    place(index, height) {
        this.index = index;
        this.element.id = `row-${index}`;
        this.element.style.transform = `translateY(${index * height}px)`;
        setAttribute(this.element, 'aria-rowindex', index + 1);
    }

    /** @param {RowState} state */
    draw(state) {
        const { row, tags } = state;
        const title = shownTitle(row, tags);
        setText(this.#title, title);
        setText(this.#artist, tags?.artist ?? '');
        setText(this.#time, tags?.duration === undefined ? '' : clock(tags.duration));
        setAttribute(this.#name, 'title', row ? [title, tags?.artist].filter(Boolean).join('\n') : null);
        setAttribute(this.#more, 'aria-label', text('more', { name: isolated(title) }));
        setAttribute(this.element, 'aria-selected', String(state.selected));
        this.#drawLead(state);
        const { classList } = this.element;
        classList.toggle('pending', !row);
        classList.toggle('focused', state.focused);
        classList.toggle('now', state.playing);
        classList.toggle('fresh', state.fresh);
    }

    /** @param {RowState} state */
    #drawLead({ row, tags, playing }) {
        const lead = leadOf(row, tags, playing);
        const drawn = JSON.stringify(lead);
        if (drawn === this.#drawnLead) return;
        this.#drawnLead = drawn;
        this.#lead.replaceChildren(lead.icon ? icon(lead.icon) : (lead.number ?? ''));
        setAttribute(this.#lead, 'aria-label', lead.label);
        setAttribute(this.#lead, 'title', lead.icon === 'cannotPlay' ? lead.label : null);
        this.element.classList.toggle('unplayable', lead.icon === 'cannotPlay');
    }
}

/**
 * The tag's title, without one the name.
 * @param {Row | undefined} row
 * @param {Tags | undefined} tags
 */
export function shownTitle(row, tags) {
    return tags?.title ?? row?.title ?? '';
}

/**
 * What the first column shows: a state, a folder, or the track's number.
 * @param {Row | undefined} row
 * @param {Tags | undefined} tags
 * @param {boolean} playing
 * @returns {{ icon?: string, number?: string, label: string }}
 */
function leadOf(row, tags, playing) {
    if (!row) return { number: '', label: text('loading') };
    if (playing) return { icon: 'playing', label: text('playing') };
    if (tags?.mimeType && !canPlay(tags.mimeType)) return { icon: 'cannotPlay', label: text('cannotPlay') };
    const type = types.get(row.type);
    if (type) return { icon: type.icon, label: text(type.name) };
    const number = /^0*(\d{1,3})(?=[\s._-])/.exec(row.title)?.[1];
    return number ? { number, label: text('trackNumber', { number }) } : { icon: 'track', label: text('track') };
}

/** @type {Map<string, boolean>} */
const playable = new Map();

/** @param {string} mimeType */
function canPlay(mimeType) {
    let can = playable.get(mimeType);
    if (can === undefined) {
        const media = element(mimeType.startsWith('video/') ? 'video' : 'audio');
        can = media.canPlayType(mimeType) !== '';
        playable.set(mimeType, can);
    }
    return can;
}
