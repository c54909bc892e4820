/** The page's own icons: strokes on a field of 24 × 24. */

/** @type {Record<string, string>} */
const paths = {
    cannotPlay: 'M12 4a8 8 0 1 0 0 16a8 8 0 1 0 0-16M6.5 6.5l11 11',
    close: 'M6 6l12 12M18 6L6 18',
    folder: 'M3 7a2 2 0 0 1 2-2h4l2 2h8a2 2 0 0 1 2 2v8a2 2 0 0 1-2 2H5a2 2 0 0 1-2-2z',
    home: 'M4 11l8-7 8 7M6 9.5V20h12V9.5',
    keyboard: 'M3 6h18v12H3zM7 10h.01M11 10h.01M15 10h.01M7 14h10',
    list: 'M4 6h16M4 12h16M4 18h10',
    more: 'M5 12h.01M12 12h.01M19 12h.01',
    play: 'M7 5l12 7-12 7z',
    playing: 'M5 10v4M10 6v12M15 9v6M20 5v14',
    search: 'M11 5a6 6 0 1 0 0 12a6 6 0 1 0 0-12M20 20l-4.5-4.5',
    track: 'M9 18V6l10-2v12M9 18a2.5 2.5 0 1 1-5 0a2.5 2.5 0 1 1 5 0M19 16a2.5 2.5 0 1 1-5 0a2.5 2.5 0 1 1 5 0',
    up: 'M12 20V5M6 11l6-6 6 6',
    video: 'M4 6h11v12H4zM15 10.5l5-3v9l-5-3',
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
