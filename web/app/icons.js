import { element } from './dom.js';

/** The page's own icons: strokes on a field of 24 × 24. */

/** @type {Record<string, string>} */
const paths = {
    cannotPlay: 'M12 4a8 8 0 1 0 0 16a8 8 0 1 0 0-16M6.5 6.5l11 11',
    clear: 'M5 7h14M10 7V4.5h4V7M7 7l.8 12.5h8.4L17 7',
    close: 'M6 6l12 12M18 6L6 18',
    down: 'M6 9l6 6 6-6',
    folder: 'M3 7a2 2 0 0 1 2-2h4l2 2h8a2 2 0 0 1 2 2v8a2 2 0 0 1-2 2H5a2 2 0 0 1-2-2z',
    grip: 'M9 6h.01M15 6h.01M9 12h.01M15 12h.01M9 18h.01M15 18h.01',
    keyboard: 'M3 6h18v12H3zM7 10h.01M11 10h.01M15 10h.01M7 14h10',
    list: 'M4 6h16M4 12h16M4 18h10',
    more: 'M5 12h.01M12 12h.01M19 12h.01',
    muted: 'M4 10v4h3l5 4V6L7 10zM16 9.5l5 5M21 9.5l-5 5',
    next: 'M18 5v14M5 6l10 6-10 6z',
    output: 'M7 3h10a1 1 0 0 1 1 1v16a1 1 0 0 1-1 1H7a1 1 0 0 1-1-1V4a1 1 0 0 1 1-1M12 11a3.5 3.5 0 1 0 0 7a3.5 3.5 0 1 0 0-7M12 7h.01',
    pause: 'M9 6v12M15 6v12',
    play: 'M7 5l12 7-12 7z',
    playing: 'M5 10v4M10 6v12M15 9v6M20 5v14',
    previous: 'M6 5v14M19 6L9 12l10 6z',
    repeat: 'M17 3l3 3-3 3M4 12V9a3 3 0 0 1 3-3h13M7 21l-3-3 3-3M20 12v3a3 3 0 0 1-3 3H4',
    repeatOne: 'M17 3l3 3-3 3M4 12V9a3 3 0 0 1 3-3h13M7 21l-3-3 3-3M20 12v3a3 3 0 0 1-3 3H4M11 10.5l1.5-1v5',
    search: 'M11 5a6 6 0 1 0 0 12a6 6 0 1 0 0-12M20 20l-4.5-4.5',
    shuffle: 'M4 7h3l10 10h3M4 17h3l3-3M14 10l3-3h3M18 5l2 2-2 2M18 15l2 2-2 2',
    track: 'M9 18V6l10-2v12M9 18a2.5 2.5 0 1 1-5 0a2.5 2.5 0 1 1 5 0M19 16a2.5 2.5 0 1 1-5 0a2.5 2.5 0 1 1 5 0',
    up: 'M12 20V5M6 11l6-6 6 6',
    video: 'M4 6h11v12H4zM15 10.5l5-3v9l-5-3',
    volume: 'M4 10v4h3l5 4V6L7 10zM16 9a4 4 0 0 1 0 6M18.5 6.5a8 8 0 0 1 0 11',
};

const namespace = 'http://www.w3.org/2000/svg';

/**
 * Draws an icon in the colour of the text around it. It is hidden from screen readers: the control names itself.
 * @param {string} name
 * @returns {SVGSVGElement}
 */
export function icon(name) {
    const svg = document.createElementNS(namespace, 'svg');
    svg.setAttribute('viewBox', '0 0 24 24');
    svg.setAttribute('aria-hidden', 'true');
    svg.setAttribute('class', 'icon');
    const path = document.createElementNS(namespace, 'path');
    path.setAttribute('d', paths[name]);
    svg.append(path);
    return svg;
}

/**
 * A button that shows nothing but an icon.
 * @param {string} name of the icon
 * @param {string} label what the button does
 * @param {() => void} run
 * @param {string} [classes]
 */
export function iconButton(name, label, run, classes) {
    const attributes = { type: 'button', class: classes, 'aria-label': label, title: label, 'data-icon': name };
    const made = element('button', attributes, icon(name));
    made.addEventListener('click', run);
    return made;
}
