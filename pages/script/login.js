// The script of the log-in page. Runs in the head; the build puts it into login.htm.
'use strict';
(function () {
  var encodable = /^[\x00-\xff\u20ac\u201a\u0192\u201e\u2026\u2020\u2021\u02c6\u2030\u0160\u2039\u0152\u017d\u2018\u2019\u201c\u201d\u2022\u2013\u2014\u02dc\u2122\u0161\u203a\u0153\u017e\u0178]*$/;
  function problemOf(field) {
    if (!encodable.test(field.value)) return 'A character of this text lies outside the character set that Vornelle works with (Windows-1252), so it cannot be sent.';
    if (field.value.indexOf('&') < 0) return '';
    return field.type === 'password' ? 'A password with "&" cannot be sent from a page: it would end at that character. Change the password in the settings of the main window and at your mail provider.'
                                     : 'An "&" cannot be sent from a page: the text would end there.';
  }
  function showProblem(field) {
    var text = problemOf(field), place = document.getElementById(field.id + '-problem');
    place.textContent = text;
    if (text) field.setAttribute('aria-invalid', 'true'); else field.removeAttribute('aria-invalid');
    return text;
  }
  // What the pages behind the log-in find in the tab's store (drafts.js, top.js): null removes it.
  function remember(name, value) {
    try { if (value === null) sessionStorage.removeItem(name); else sessionStorage.setItem(name, value); } catch (e) { /* a browser that stores nothing */ }
  }
  function remembered(name) {
    try { return sessionStorage.getItem(name); } catch (e) { return null; }
  }

  // This page comes in place of another one when there is no session: that one is wanted, and the address is that of the
  // log-in page from here on. A form is not sent again by going back to it, and the old session's id is seen no more.
  function comeInstead() {
    if (/^\/(index\.htm.*)?$/i.test(location.pathname)) return;
    remember('wanted', location.pathname + location.search.replace(/([?&]s=)[A-Z]*/, '$1'));
    history.replaceState(null, '', '/');
  }
  // After a log-in that was refused, what else could be done.
  function showHelp() {
    document.getElementById('refused').hidden = !remembered('refused');
    remember('refused', null);
  }
  comeInstead();
  document.addEventListener('DOMContentLoaded', function () {
    var form = document.getElementById('login'), account = document.getElementById('account'), password = document.getElementById('password');
    var button = form.querySelector('button'), name = button.textContent, working = false;
    // Values are read as they stand: the form leaves as one text/plain field that spells them out, joined by "&".
    if ('FormDataEvent' in window) {
      form.enctype = 'text/plain';
      form.addEventListener('formdata', function (event) {
        var data = event.formData;
        ['POP_ACCOUNT', 'POP_PASSWORD', 'END'].forEach(function (field) { data.delete(field); });
        data.append('POP_ACCOUNT', account.value + '&POP_PASSWORD=' + password.value + '&END=1');
      });
    }
    [account, password].forEach(function (field) { field.addEventListener('input', function () { showProblem(field); }); });
    form.addEventListener('submit', function (event) {
      var wrong = 'FormDataEvent' in window && [account, password].filter(showProblem)[0];
      if (wrong) wrong.focus();
      if (working || wrong) { event.preventDefault(); return; }
      working = true;
      remember('setup', !account.value && !password.value ? '1' : null);
      remember('login', '1');
      remember('refused', '1');
      setTimeout(function () { button.disabled = true; button.textContent = 'Logging in...'; }, 0);
    });
    window.addEventListener('pageshow', function () {
      working = false;
      button.disabled = false;
      button.textContent = name;
      remember('setup', null);
      remember('login', null);
      showHelp();
    });
    document.getElementById('kept').hidden = !remembered('wanted');
  });
})();
