
// What the request form can do besides being filled in and sent.
'use strict';
(() => {
  const form = document.querySelector('form');
  const byId = (id) => document.getElementById(id);
  const fields = () => [...new FormData(form)].filter(([name, value]) => name !== 'password' && typeof value === 'string');

  // What stays on this machine cannot be read on the way.
  byId('insecure').hidden = window.isSecureContext;

  // ---- Days ----

  const days = [...form.querySelectorAll('[name=days]')];
  const chosen = days.find((day) => day.value === '');
  const [from, to] = ['from', 'to'].map((name) => form.querySelector(`[name=${name}]`));
  function lookAtDays() {
    from.required = chosen.checked;
    to.min = from.value;
  }
  for (const day of [from, to]) {
    day.addEventListener('input', () => { chosen.checked = true; });
  }
  chosen.addEventListener('change', () => { from.scrollIntoView({ block: 'nearest' }); });

  // ---- Sections ----

  const sections = [...form.querySelectorAll('table [type=checkbox]')];
  const choose = (on) => () => {
    for (const section of sections) { section.checked = on; }
    look();
  };
  byId('choose-all').addEventListener('click', choose(true));
  byId('choose-none').addEventListener('click', choose(false));
  byId('choose-all').parentElement.hidden = false;

  // ---- Remembered choices ----

  const place = 'orvellis-request';
  const keep = byId('remember');
  const forget = byId('forget');
  let store = null;
  try {
    store = window.localStorage;
    byId('remembering').hidden = false;
  } catch {
    // Without leave to remember there is nothing to tick.
  }

  function remembered() {
    try {
      const list = JSON.parse(store.getItem(place));
      return Array.isArray(list) ? new Map(list) : null;
    } catch {
      return null;
    }
  }

  // One of several is chosen where it still is among them.
  const setters = {
    checkbox: (field, value) => { field.checked = value === field.value; },
    radio: (field, value) => { field.checked ||= value === field.value; },
    password: () => {},
  };
  function fillIn(values) {
    for (const field of form.elements) {
      const value = values.get(field.name);
      if (setters[field.type]) {
        if (field.name) { setters[field.type](field, value); }
      } else if (typeof value === 'string') {
        field.value = value;
      }
    }
    // What is set does not hide in a fold.
    const more = form.querySelector('details');
    more.open = [...more.querySelectorAll('input')].some((field) => field.value !== field.defaultValue || field.checked !== field.defaultChecked);
  }

  function forgetAll() {
    store.removeItem(place);
    forget.hidden = true;
    keep.checked = false;
  }

  keep.addEventListener('change', () => { if (!keep.checked) { forgetAll(); } });
  forget.addEventListener('click', () => {
    forgetAll();
    form.reset();
    look();
    keep.focus();
  });
  form.addEventListener('submit', () => {
    if (store && keep.checked) { store.setItem(place, JSON.stringify(fields())); }
  });

  // An address that asks for a report has filled the form in already.
  const values = store && remembered();
  if (values) {
    keep.checked = true;
    forget.hidden = false;
    if (window.location.search === '') { fillIn(values); }
  }

  // ---- The link ----

  const bookmark = byId('bookmark');
  function lookAtLink() {
    const query = new URLSearchParams();
    for (const [name, value] of fields()) {
      const idle = ((name === 'from' || name === 'to') && !chosen.checked) || (name === 'section' && form.querySelector('[name=output]:checked').value !== 'csv');
      if (value !== '' && !idle) { query.append(name, value); }
    }
    bookmark.href = `${form.getAttribute('action').split('?')[0]}?${query}`;
  }
  bookmark.hidden = false;
  byId('bookmark-hint').hidden = false;

  function look() {
    lookAtDays();
    lookAtLink();
  }
  form.addEventListener('input', look);
  look();
})();
