// Where the focus goes when a page comes anew behind an action: to what had it before, else to the row that stands in that
// place now, else to the heading. Back in a list it goes to the message that was read.
'use strict';
(function () {
  var find = Document.prototype.querySelector.bind(document), findAll = Document.prototype.querySelectorAll.bind(document);
  var FRESH = 120000;  // milliseconds: an older place is forgotten
  var CONTROLS = 'button, select, input:not([type="hidden"])';
  var submitted = null;

  function list(nodes) { return Array.prototype.slice.call(nodes); }
  function page() { return (document.documentElement.getAttribute('data-page') || '').toLowerCase(); }
  function rows() { return list(findAll('#boxes tbody tr')).filter(function (row) { return !row.hidden && row.querySelector('input'); }); }
  function keyIn(address) { return (/[?&]k=([^&]*)/.exec(address || '') || [])[1] || ''; }
  function keyOf(row) {
    var link = row.querySelector('td.subject a');
    return link ? keyIn(link.getAttribute('href')) : '';
  }
  function actionOf(form) { return (form.getAttribute('action') || '').split('?')[0]; }

  // ---- leaving ----

  function describe(part) {
    var row = part.closest('#boxes tbody tr'), form = part.closest('form'), place;
    if (row) return { row: rows().indexOf(row), key: keyOf(row), column: part.closest('td').className.split(' ')[0], tag: part.localName };
    if (part.id) return { id: part.id };
    if (part.name === 'SUBMIT3') return { name: part.name };
    if (form) return { action: actionOf(form), at: list(form.querySelectorAll(CONTROLS)).indexOf(part), asks: form.hasAttribute('data-ask') };
    place = part.closest('h1, nav, .more, .around, .switch, main');
    return part.localName === 'a' && place ? { link: part.textContent, place: place.className ? '.' + place.className.split(' ')[0] : place.localName } : null;
  }
  function store(value) {
    try {
      var before = sessionStorage.getItem('focus');
      if (value) sessionStorage.setItem('focus', JSON.stringify(value)); else sessionStorage.removeItem('focus');
      return JSON.parse(before);
    } catch (e) { return null; /* a browser that stores nothing */ }
  }
  function leave() {
    var part = document.activeElement;
    if (!part || part === document.body) part = submitted;
    store({ page: page(), time: Date.now(), key: page() === 'preview' ? keyIn(location.search) : '', part: part && describe(part) });
  }

  // ---- arriving ----

  function heading() {
    var h1 = find('main h1');
    if (h1) h1.setAttribute('tabindex', '-1');
    return h1;
  }
  function partIn(row, part) {
    var cell = part.column && row.querySelector('td.' + part.column);
    return (cell && cell.querySelector(part.tag)) || row.querySelector('td.subject a') || row.querySelector('a, input');
  }
  function usable(one) { return one && !one.disabled && one.getClientRects().length > 0 ? one : null; }
  function placeFor(part) {
    var all = rows(), same;
    if (part.row !== undefined) {
      same = part.key && all.filter(function (row) { return keyOf(row) === part.key; })[0];
      same = same || all[Math.min(Math.max(part.row, 0), all.length - 1)];
      return same ? partIn(same, part) : null;
    }
    if (part.id) return usable(document.getElementById(part.id));
    if (part.name) return usable(find('[name="SUBMIT3"]'));
    // The question was about the message that is gone.
    if (part.action && !part.asks) {
      same = list(findAll('form')).filter(function (form) { return actionOf(form) === part.action; })[0];
      return same ? usable(same.querySelectorAll(CONTROLS)[part.at]) : null;
    }
    if (part.link) return list(findAll(part.place + ' a')).filter(function (link) { return link.textContent === part.link; })[0];
    return null;
  }
  // What can be seen already moves nothing: the strip above it says what came of the action. A button in a bar that sticks to
  // the window's edge would be scrolled for, since that edge counts as hidden.
  function focus(target) {
    var place = target.getBoundingClientRect();
    target.focus({ preventScroll: place.top >= 0 && place.bottom <= innerHeight });
  }
  function arrive() {
    var before = store(null), target = null, read;
    if (!before || Date.now() - before.time > FRESH) return;
    if (before.page === 'preview' && find('#boxes')) {
      read = rows().filter(function (row) { return keyOf(row) === before.key; })[0];
      target = read && partIn(read, {});
    } else if (before.part && before.page === page()) {
      target = placeFor(before.part) || heading();
    } else if (before.part && before.part.action === 'mailfilter.cgi') {
      target = placeFor(before.part);
    }
    if (target) focus(target);
  }

  document.addEventListener('submit', function () { submitted = document.activeElement; }, true);
  window.addEventListener('pagehide', leave);
  document.addEventListener('DOMContentLoaded', arrive);
})();
