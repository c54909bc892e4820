import { text } from './language.js';

/** What user agents contain, the special before the general, and what people call it. */
const browsers = [['Firefox'], ['Edg', 'Edge'], ['Chrome'], ['Safari']];
const systems = [['Android'], ['iPhone'], ['iPad'], ['Windows'], ['Macintosh', 'Mac'], ['CrOS', 'ChromeOS'], ['Linux']];

/** What people call this browser, for example `Firefox on Android`. */
export function deviceName() {
    const values = { browser: named(browsers) ?? text('browser'), system: named(systems) ?? '' };
    return values.system ? text('browserOnSystem', values) : values.browser;
}

/** @param {string[][]} names */
function named(names) {
    const found = names.find(([part]) => navigator.userAgent.includes(part));
    return found?.at(-1);
}
