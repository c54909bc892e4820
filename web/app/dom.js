/** @typedef {Node | string | null | undefined | false} Child */

/**
 * Makes an element. Attributes that are false, null or undefined are left out; true gives an empty one. Strings become
 * text, never markup.
 * @template {keyof HTMLElementTagNameMap} Tag
 * @param {Tag} tag
 * @param {Record<string, string | number | boolean | null | undefined>} [attributes]
 * @param {...Child} children
 * @returns {HTMLElementTagNameMap[Tag]}
 */
export function element(tag, attributes = {}, ...children) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) setAttribute(made, name, value);
    made.append(...children.filter((child) => child !== null && child !== undefined && child !== false));
    return made;
}

/**
 * Sets or removes an attribute, and only touches the document if that changes something.
 * @param {Element} target
 * @param {string} name
 * @param {string | number | boolean | null | undefined} value
 */
export function setAttribute(target, name, value) {
    const wanted = value === true ? '' : value === false || value === null || value === undefined ? null : String(value);
    if (target.getAttribute(name) === wanted) return;
    if (wanted === null) target.removeAttribute(name);
    else target.setAttribute(name, wanted);
}

/**
 * Replaces the text of an element if it differs.
 * @param {Element} target
 * @param {string} wanted
 */
export function setText(target, wanted) {
    if (target.textContent !== wanted) target.textContent = wanted;
}
