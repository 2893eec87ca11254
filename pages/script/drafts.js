// A session that ends takes nothing with it: whoever has logged in again is back on the page that was wanted, and finds
// there what was typed and ticked. Nothing is sent by itself, and no password is kept. Runs in the head, before top.js,
// which ticks the rows again; the build puts it into top.inc.
//
// What is kept lies in the tab's own store, from the moment in which a page is left until the next page is there:
//
//   draft    { page, values: { id: text, true or [texts] }, secret }   by this script
//   wanted   the address that the log-in page came in place of         by the log-in page
//   login    somebody is logging in                                    by the log-in page
//   refused  the last log-in came to nothing                           by the log-in page
//   back     the page behind the log-in has led on to the wanted one   by this script
'use strict';
(function () {
  // Pages that show something and do nothing.
  var PAGES = /^\/?((?:display(?:inbox|spambox|friendlist|subjectlist|enemylist)|findinlists|config|preview)\.htm)(?:\?([^#]*))?$/i;
  var find = Document.prototype.querySelector, get = Document.prototype.getElementById, findAll = Document.prototype.querySelectorAll;
  var session = (/[?&]s=([A-Z]{64})/.exec(location.search) || [])[1];
  var leftAlone = false, restored = null;

  function take(name) {
    var value = null;
    try { value = sessionStorage.getItem(name); sessionStorage.removeItem(name); } catch (e) { /* a browser that stores nothing */ }
    return value;
  }
  function put(name, value) {
    try { sessionStorage.setItem(name, value); } catch (e) { /* a browser that stores nothing, or no more */ }
  }

  // "displayinbox.htm?s=&msg=15": an address of a page, in lower case and without its session. '' for any other.
  function pageOf(address) {
    var parts = PAGES.exec(address || ''), name, query;
    if (!parts) return '';
    name = parts[1].toLowerCase();
    query = (parts[2] || '').replace(/(^|&)s=[A-Z]*/, '$1s=');
    if (!/(^|&)s=/.test(query)) query = 's=' + (query && '&' + query);
    // The search's text came in a form; without that field the page would search for something else.
    if (name === 'findinlists.htm' && !/&findinlists=[^&]*&/.test(query)) query = 's=&findinlists=&END=1';
    return name + '?' + query;
  }
  // The same in this session.
  function addressOf(page) { return page.replace(/([?&]s=)/, '$1' + session); }

  function ownPage() {
    var own = pageOf(location.pathname + location.search), link;
    if (own) return own;
    link = find.call(document, 'nav a[aria-current="page"]');
    return link ? pageOf(link.getAttribute('href')) : '';
  }

  function fields() {
    return Array.prototype.filter.call(findAll.call(document, 'main input[id], main select[id], main textarea[id]'), function (field) {
      return /^(text|search|checkbox|password|select-multiple|textarea)$/.test(field.type) && !field.closest('#boxes');
    });
  }
  function chosen(list) { return Array.prototype.map.call(list.selectedOptions, function (option) { return option.textContent; }); }

  function keep() {
    var draft = { page: ownPage(), values: {}, secret: false };
    if (leftAlone) return;
    fields().forEach(function (field) {
      if (field.type === 'password') {
        draft.secret = draft.secret || field.value !== field.defaultValue;
      } else if (field.type === 'checkbox') {
        if (field.checked !== field.defaultChecked) draft.values[field.id] = field.checked;
      } else if (field.type === 'select-multiple') {
        if (field.selectedOptions.length) draft.values[field.id] = chosen(field);
      } else if (field.value !== field.defaultValue) {
        draft.values[field.id] = field.value;
      }
    });
    put('draft', JSON.stringify(draft));
  }

  function fill(field, value) {
    if (field.type === 'checkbox') {
      field.checked = value === true;
    } else if (field.type === 'select-multiple') {
      Array.prototype.forEach.call(field.options, function (option) { option.selected = value.indexOf(option.textContent) >= 0; });
    } else {
      field.value = value;
    }
    field.dispatchEvent(new Event('input', { bubbles: true }));
    field.dispatchEvent(new Event('change', { bubbles: true }));
  }

  function restore(draft) {
    var names = Object.keys(draft.values), word, main = find.call(document, 'main');
    names.forEach(function (id) {
      var field = get.call(document, id);
      if (field && fields().indexOf(field) >= 0 && field.type !== 'password') fill(field, draft.values[id]);
    });
    if (!names.length && !draft.secret) return;
    word = Document.prototype.createElement.call(document, 'p');
    word.className = 'note kept';
    word.setAttribute('role', 'status');
    main.prepend(word);
    word.textContent = 'You are logged in again. What you had typed is here; it has not been sent.' +
      (draft.secret ? ' Passwords are not kept: please type them once more.' : '');
    if (names.length && get.call(document, names[0])) get.call(document, names[0]).focus();
  }

  (function begin() {
    var login = take('login'), back = take('back'), wanted = take('wanted') || '', text = take('draft'), draft = null, target;
    try { draft = JSON.parse(text); } catch (e) { /* not ours */ }
    if (draft && typeof draft.values !== 'object') draft = null;
    take('refused');
    if (!session) return;
    if (login) {
      // What was asked for was perhaps an action: then the page with the form.
      target = pageOf(wanted) || (draft && /\.cgi/i.test(wanted) ? pageOf(draft.page) : '');
      if (target && target !== ownPage()) {
        if (draft) put('draft', text);
        put('back', '1');
        take('setup');  // the page was wanted more than the settings of a first start
        leftAlone = true;
        location.replace(addressOf(target));
        return;
      }
    }
    if (((login && wanted) || back) && draft) restored = draft;
  })();

  document.addEventListener('DOMContentLoaded', function () {
    var strip = get.call(document, 'strip');
    if (!restored || restored.page !== ownPage()) { restored = null; return; }
    // Over the plain wire rows have numbers alone, and these may be other messages now.
    if (strip && strip.getAttribute('data-status')) put('again', '1');
  });
  window.addEventListener('load', function () { if (restored) restore(restored); });
  window.addEventListener('pagehide', keep);
  document.addEventListener('click', function (event) {
    var link = event.target.closest('a[href]');
    if (link && link.getAttribute('href') === 'logout.cgi') leftAlone = true;
  });
})();
