import { element, setAttribute } from './dom.js';
import { icon } from './icons.js';
import { coverAddress } from './paths.js';

/** A square with a file's cover, or with a note for a file without one. */
export function makeCover() {
    const picture = element('img', { alt: '', decoding: 'async', draggable: 'false' });
    const square = element('span', { class: 'cover', 'aria-hidden': 'true' }, icon('track'), picture);
    picture.addEventListener('error', () => square.classList.remove('pictured'));
    picture.addEventListener('load', () => square.classList.add('pictured'));
    let shown = '';
    return {
        element: square,

        /** @param {string} path of a file, empty for none @param {number} width in pixels */
        show(path, width) {
            if (path === shown) return;
            shown = path;
            square.classList.remove('pictured');
            setAttribute(picture, 'src', path && coverAddress(path, width) || null);
        },

        /** Shows no other picture than this file's, and loads none. @param {string} path */
        leave(path) {
            if (path !== shown) this.show('', 0);
        },
    };
}
